// Reading whole records of any DSS version into the engine's version-neutral structures: the
// record layer of each version behind one interface, over that version's container. The
// version byte of the file chooses which one OpenRecordReader returns.
#ifndef VARNOCK_ENGINE_CONTAINER_RECORD_READER_H_
#define VARNOCK_ENGINE_CONTAINER_RECORD_READER_H_

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "engine/container/container.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/file_io.h"
#include "engine/records/paired/paired_codec.h"
#include "engine/records/paired/text_codec.h"
#include "engine/records/series/series.h"

namespace varnock::engine::container {

class RecordReader {
 public:
  virtual ~RecordReader() = default;
  virtual Container& file() = 0;
  // The block a catalog item names, whole, as HEC's library of that version reads it back.
  virtual Status ReadSeriesBlock(const CatalogItem& item, series::SeriesRead* out) = 0;
  virtual Status ReadPaired(const CatalogItem& item, paired::PairedData* out) = 0;
  virtual Status ReadText(const CatalogItem& item, paired::TextData* out) = 0;
  // HEC's DSS-6 library hands an empty units or type text back as a field followed by a blank
  // in the canonical dump; DSS-7's as the bare field name.
  virtual bool BlankAfterEmptySeriesText() const = 0;
  // The value a series read hands back for slots never written: DSS-6 -901, DSS-7 -FLT_MAX.
  virtual double NeverWritten() const = 0;
};

// Opens an existing DSS file read-only, DSS-6 or DSS-7 by its version byte: kOk, or
// kNotDssFile, kIncompatibleVersion (another major version), kInvalidHeader, an I/O status.
Status OpenRecordReader(const std::string& path, std::unique_ptr<RecordReader>* out);
// The same for reading and writing (read-only when the file cannot be written); `program` is
// what the file records as the writer of what it writes.
Status OpenRecordReaderForWrite(const std::string& path, const std::string& program,
                                std::unique_ptr<RecordReader>* out);
Status OpenRecordReaderIO(std::unique_ptr<dss7::FileIO> io, std::unique_ptr<RecordReader>* out);

// What a dump renders and whom it tells of its progress.
struct DumpOptions {
  // Takes a listed name; records it refuses are left out. Empty: every record.
  std::function<bool(const std::string&)> select;
  // Called after each record with the records done and the total.
  std::function<void(int64_t, int64_t)> progress;
};
// What a dump covered: the records selected and those that could not be read.
struct DumpCounts {
  size_t matched = 0;
  size_t failed = 0;
};

// Takes the next piece of a dump; false when it cannot be written.
using DumpSink = std::function<bool(std::string_view)>;

// The canonical dump ("DSSDUMP 1") of the selected live records, in byte order of the listed
// names, handed to the sink in pieces as it is made. A record that cannot be read prints
// "error <status>" and counts as failed; kinds the dump does not render print "unsupported".
// Fails when the catalog cannot be read, and with kWriteError when the sink refuses a piece.
Status StreamDump(RecordReader& reader, const DumpOptions& options, const DumpSink& sink,
                  DumpCounts* counts);
// The same dump as one text, for tests and small files.
Status RenderDump(RecordReader& reader, const DumpOptions& options, std::string* out,
                  DumpCounts* counts);
// Every live record.
Status RenderDump(RecordReader& reader, std::string* out);

}  // namespace varnock::engine::container

#endif  // VARNOCK_ENGINE_CONTAINER_RECORD_READER_H_
