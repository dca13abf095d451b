// The DSS-6 record layer behind the version-neutral reader, writer and record-file interfaces.
#ifndef VARNOCK_ENGINE_DSS6_READER_H_
#define VARNOCK_ENGINE_DSS6_READER_H_

#include <memory>

#include "engine/container/record_file.h"
#include "engine/dss6/dss6_file.h"

namespace varnock::engine::dss6 {

// The reader is also the file the HECLIB routines work on.
std::unique_ptr<container::RecordFile> MakeRecordFile(std::unique_ptr<Dss6File> file);
// Writes through the DSS-6 record writers: upper-case paths, HEC's DSS-6 spellings, whole
// blocks with -901 in slots never written.
std::unique_ptr<container::RecordWriter> MakeRecordWriter(Dss6File& file);

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_READER_H_
