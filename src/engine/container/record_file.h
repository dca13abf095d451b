// A DSS file as the HECLIB routines use it, whatever its version: its container, whole-record
// reading and writing, the series window reads and stores, paired data with storage plans, and
// record copies within a version or across versions. Each version implements it over its own
// file and record code (DSS-7 in dss7_reader.cc, DSS-6 in dss6/reader.cc), so the routines
// never ask which version they hold.
#ifndef VARNOCK_ENGINE_CONTAINER_RECORD_FILE_H_
#define VARNOCK_ENGINE_CONTAINER_RECORD_FILE_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "engine/container/record_reader.h"
#include "engine/container/record_writer.h"
#include "engine/records/paired/record_io.h"
#include "engine/records/series/classic.h"

namespace varnock::engine::container {

// What the file inquiries and the catalog header report.
struct FileFigures {
  std::string version_text;  // "6-YO", "7-IU"
  int32_t version_number = 0;
  int64_t records = 0;
  int64_t size_words = 0;  // in the version's own words
  int64_t size_kbytes = 0;
  int32_t dead_percent = 0;
  int32_t hash_size = 0;     // DSS-6 hash codes, DSS-7 hash table size
  bool stable_table = true;  // DSS-7 tables keep their size; DSS-6 says in its header
  int64_t created_ms = 0;    // local wall-clock time; 0 when unknown
  int64_t last_write_ms = 0;
};

// A stamp of header words (FNV-1a over their bytes).
template <typename Words>
uint64_t StampOfWords(const Words& words) {
  uint64_t h = 14695981039346656037ull;
  for (const auto w : words) {
    auto v = static_cast<uint64_t>(w);
    for (size_t i = 0; i < sizeof(w); ++i, v >>= 8)
      h = (h ^ (v & 0xff)) * 1099511628211ull;
  }
  return h;
}

class RecordFile : public RecordReader, public series::SeriesFile {
 public:
  virtual RecordWriter& writer() = 0;
  // Sees what other tables or processes wrote since the last look.
  virtual Status Refresh() = 0;
  // Changes whenever the header read by the last Refresh does, as it does with every write by
  // any handle: what caches of the catalog are kept by.
  virtual uint64_t HeaderStamp() = 0;
  virtual FileFigures Figures() = 0;
  // kTypeMismatch when the record is not paired data; `info` (may be null) gets the record's
  // info whenever a record was found.
  virtual Status ReadPairedNamed(std::string_view path, paired::PairedData* out,
                                 RecordInfo* info) = 0;
  // Plans as ZSPD takes them: kExists (plan kOnlyNew) / kNotFound (kOnlyExisting); kTypeMismatch
  // over another kind. `program` names the writer when not empty.
  virtual Status WritePaired(std::string_view path, const paired::PairedData& data,
                             paired::WritePlan plan, std::string_view program) = 0;
  // Copies a live record to `target_path` in `target` (which may be this file). A target of
  // the same version gets the record as it is, keeping its stamps; one of the other version
  // gets it converted (D and E parts and missing markers as that version keeps them).
  // kNotFound; kTypeMismatch when the record has no form in the target's version.
  virtual Status CopyRecord(std::string_view path, RecordFile& target,
                            std::string_view target_path) = 0;
};

struct OpenOptions {
  bool read_only = false;
  bool exclusive = false;  // hold the file alone while it is open
  std::string program;     // what the file records as the writer; empty: the file's default
  // HECLIB's TAG option, for versions whose records carry tags (DSS-6): an explicit tag for
  // the next new record, or false for the version's default tag.
  std::function<bool(std::string*)> next_record_tag;
};

// Opens an existing file of either version for the routines (read-only when it cannot be
// written or `read_only`); the same statuses as OpenRecordReaderIO, and kExclusiveLocked.
Status OpenRecordFileIO(std::unique_ptr<dss7::FileIO> io, const OpenOptions& options,
                        std::unique_ptr<RecordFile>* out);
// Opens the file behind `io`, or makes a new one when it is empty: DSS-6 when `new_version` is
// 6, else DSS-7 sized for about `expected_paths` records (0: the default size). kNotDssFile
// when it holds something else; *created tells which happened.
Status OpenOrCreateRecordFileIO(std::unique_ptr<dss7::FileIO> io, int new_version,
                                int64_t expected_paths, const OpenOptions& options,
                                std::unique_ptr<RecordFile>* out, bool* created);

// The same at a path: an existing file (kOpenFailed when it cannot be opened) ...
Status OpenRecordFile(const std::string& path, const OpenOptions& options,
                      std::unique_ptr<RecordFile>* out);
// ... or one made when missing or empty, as OpenOrCreateRecordFileIO makes it.
Status OpenOrCreateRecordFile(const std::string& path, int new_version, const OpenOptions& options,
                              std::unique_ptr<RecordFile>* out, bool* created);

// A record file over a DSS-7 file opened with options of the caller's choosing.
std::unique_ptr<RecordFile> MakeDss7RecordFile(std::unique_ptr<dss7::DssFile> file);

// The DSS-7 file layer under a record file, or null when the file is of another version (for
// tests that write records straight through the file layer).
dss7::DssFile* Dss7FileOf(RecordFile& file);

// One record read through `source` and written through `target` under `target_path`: series
// blocks with missing values in the target's marker, paired data and text as they are.
// kTypeMismatch when the record's kind has no form in the target's version; kInvalidArgument
// when a series block holds no values.
// `keep`, when given, is the source record's info: the target keeps what it has a place for.
Status ConvertRecord(RecordReader& source, const CatalogItem& item, RecordWriter& target,
                     std::string_view target_path, const RecordInfo* keep = nullptr);

}  // namespace varnock::engine::container

#endif  // VARNOCK_ENGINE_CONTAINER_RECORD_FILE_H_
