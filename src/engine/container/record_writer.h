// Writing whole records of any DSS version from the engine's version-neutral structures, and
// converting every record of one file into another through the reader and writer interfaces.
#ifndef VARNOCK_ENGINE_CONTAINER_RECORD_WRITER_H_
#define VARNOCK_ENGINE_CONTAINER_RECORD_WRITER_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/container/record_reader.h"
#include "engine/dss7/dss_file.h"

namespace varnock::engine::container {

class RecordWriter {
 public:
  virtual ~RecordWriter() = default;
  virtual int MajorVersion() const = 0;
  // The value this version keeps in slots never written: DSS-6 -901, DSS-7 -FLT_MAX.
  virtual double NeverWritten() const = 0;
  // One block as a reader hands it over (times and values, units, type, quality); the path's
  // D and E parts are spelled for this version by its series writer.
  virtual Status StoreSeriesBlock(std::string_view path, int32_t type,
                                  const series::SeriesRead& block) = 0;
  virtual Status StorePaired(std::string_view path, const paired::PairedData& data) = 0;
  virtual Status StoreText(std::string_view path, const paired::TextData& data) = 0;
  // The source record's stamps a copy keeps where this version has a place for them (DSS-6:
  // version count and writer), for the stores that follow; null ends it. DSS-7 keeps none.
  virtual void KeepStamps(const RecordInfo* /*source*/) {}
};

std::unique_ptr<RecordWriter> MakeDss7RecordWriter(dss7::DssFile& file);

struct ConvertSummary {
  int64_t converted = 0;
  std::vector<std::pair<std::string, std::string>> skipped;  // (path, why)
};

// Every live record of `source` into `target`: series blocks with missing values turned into
// the target's marker, paired data and text as they are. Records that cannot be read or
// written are listed in the summary; kOk unless the catalog itself cannot be read. `progress`,
// when given, hears the records done and the total after each record.
Status ConvertRecords(RecordReader& source, RecordWriter& target, ConvertSummary* summary,
                      const std::function<void(int64_t, int64_t)>& progress = {});

}  // namespace varnock::engine::container

#endif  // VARNOCK_ENGINE_CONTAINER_RECORD_WRITER_H_
