// A DSS version 6 file: create, open, look up, read, catalog, write, rewrite, delete, undelete
// and rename records, laid out as HEC's DSS-6 library lays them out. Never throws; every
// operation returns a Status. Addresses are DSS-6 word addresses (1-based, 4-byte words); the
// physical record layout (127 words per 512 bytes) is hidden in ReadWords and WriteWords.
//
// Write ordering (every write operation), so that a failure at any I/O step leaves every record
// that was in the file before readable:
//   1. data: space taken at the end of the file (a new bin block, the info block and areas, the
//      end-of-file marker) and the contents of bins the header has not yet handed out;
//   2. header: claims that space and updates the counters;
//   3. link: the hash-table word, overflow link, block link or bin entry that makes the new data
//      reachable;
//   4. retire: superseded info blocks are marked abandoned, renamed or replaced.
// In-place rewrites (new areas no longer than the old) overwrite the areas, as HEC does.
#ifndef VARNOCK_ENGINE_DSS6_DSS6_FILE_H_
#define VARNOCK_ENGINE_DSS6_DSS6_FILE_H_

#include <ctime>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/container/container.h"
#include "engine/dss6/codec.h"
#include "engine/dss7/file_io.h"

namespace varnock::engine::dss6 {

// A live record found by lookup: its bin entry and info block.
struct Found {
  BinEntry entry;
  InfoBlock info;
  int64_t entry_address = 0;  // bin address + offset of the entry
};

// Local wall-clock time, for the dates and times HEC keeps as text.
using LocalClock = std::function<std::tm()>;

struct Options6 {
  bool read_only = false;
  LocalClock clock;                // the system's local time when empty
  std::string program = "Varnoc";  // 6 characters go into each info block
  int lock_attempts = 100;         // tries for the write lock ...
  int lock_wait_ms = 50;           // ... this far apart
  // Hold the file alone while open (HECLIB's EXCL): the open fails with kExclusiveLocked while
  // another process has it open. Any open fails so while another holds it alone.
  bool exclusive = false;
  // HECLIB's TAG option: gives an explicit tag for the next new record, or returns false for
  // HEC's default "T<n>". Asked once for every new record (not for copies and renames).
  std::function<bool(std::string*)> next_tag;
};

// What a writer supplies for one record. Spans must stay valid during the call.
struct RecordData6 {
  int32_t type = 0;
  std::span<const int32_t> internal_header;
  std::span<const int32_t> compression_header;
  std::span<const int32_t> user_header;
  std::span<const int32_t> data;
  int32_t logical_count = 0;
  int32_t compression = 0;
  int32_t quality_flag = 0;
  int32_t precision = 0;
  int32_t pseudo_interval = 0;  // minutes, irregular series stored from a "~" E part
  std::string_view program;     // the writer stamped on the record; empty: the file's program
};

class Dss6File final : public container::Container {
 public:
  // kNotDssFile, kIncompatibleVersion (not a "6-" file), kInvalidHeader, or an I/O status.
  static Status OpenIO(std::unique_ptr<dss7::FileIO> io, const Options6& options,
                       std::unique_ptr<Dss6File>* out);
  static Status OpenIO(std::unique_ptr<dss7::FileIO> io, std::unique_ptr<Dss6File>* out) {
    Options6 read_only;
    read_only.read_only = true;
    return OpenIO(std::move(io), read_only, out);
  }
  static Status Open(const std::string& path, std::unique_ptr<Dss6File>* out);
  static Status Open(const std::string& path, const Options6& options,
                     std::unique_ptr<Dss6File>* out);
  // A new, empty file of size code 1..9 (6: 2048 hash codes, HEC's default); `io` must be empty.
  static Status CreateIO(std::unique_ptr<dss7::FileIO> io, int size_code, const Options6& options,
                         std::unique_ptr<Dss6File>* out);
  // The same at a path; kExists when a non-empty file is already there.
  static Status Create(const std::string& path, int size_code, const Options6& options,
                       std::unique_ptr<Dss6File>* out);

  ~Dss6File() override { (void)Close(); }
  Dss6File(const Dss6File&) = delete;
  Dss6File& operator=(const Dss6File&) = delete;

  // A file whose header carries the dead-writer mark is read-only whatever was asked.
  bool read_only() const override { return read_only_; }
  const HeaderWords& header() const { return header_; }
  int64_t file_words() const { return file_words_; }

  // Reads the header again, to see what other tables or processes wrote.
  Status Refresh() { return in_write_ ? Status::kOk : LoadHeader(); }
  // Words at 1-based `address`; kDamaged when any of them lies outside the file.
  Status ReadWords(int64_t address, std::span<int32_t> out);
  Status ReadInfoAt(int64_t address, InfoBlock* out);
  // A live record by pathname (normalised first): kOk, kNotFound, kPathMismatch when the
  // info block the bin points at holds another path, or kDamaged.
  Status Find(std::string_view path, Found* out);

  // kExists when a live record has the path (normalised first).
  Status WriteNewRecord(std::string_view path, const RecordData6& data);
  // kNotFound when no live record has the path.
  Status Rewrite(std::string_view path, const RecordData6& data);
  Status Store(std::string_view path, const RecordData6& data);  // either
  Status Delete(std::string_view path) override;
  Status Undelete(std::string_view path) override;  // kExists if a live record has the path
  // kInvalidArgument when the names are the same; a live record under the new name is deleted
  // first, as HEC does.
  Status Rename(std::string_view old_path, std::string_view new_path) override;
  Status Close() override;

  // Copies every live record, in the order of their info blocks in this file, into the empty
  // file behind `target`, sized as HEC sizes a squeezed file and keeping the tag counter.
  // kExclusiveLocked when another process has this file open.
  Status SqueezeInto(std::unique_ptr<dss7::FileIO> target, const Options6& options,
                     std::unique_ptr<Dss6File>* out);
  // Whether any read slot but ours is held: someone else has the file open.
  Status OthersHaveItOpen(bool* others);

  // Copies a live record into `target` (which may be this file) under `target_path`, keeping its
  // tag, version and last-write time: kNotFound, kExists when the target has the path live.
  Status CopyRecord(std::string_view path, Dss6File& target, std::string_view target_path);
  // What a record copied from a file of another version keeps of its source (HECLIB's ZCOREC):
  // the writes that follow take its version count and writer, in place of a new record's 1 (a
  // rewrite's old count + 1) and this file's program, until called with null.
  void KeepStamps(const container::RecordInfo* source);

  // Container.
  int MajorVersion() const override { return 6; }
  std::string VersionText() const override;
  container::FileFacts Facts() const override;
  Status Catalog(std::vector<container::CatalogItem>* out) override;
  Status SortedCatalog(std::vector<container::CatalogItem>* out) override;
  Status DeletedCatalog(std::vector<container::CatalogItem>* out) override;
  Status Lookup(std::string_view path, container::RecordInfo* out) override;
  Status ReadRecord(std::string_view path, container::RecordAreas* out) override;

 private:
  friend class Writer6;
  Status ListEntries(bool deleted, std::vector<container::CatalogItem>* out);
  struct Chain;
  Dss6File(std::unique_ptr<dss7::FileIO> io, const Options6& options)
      : io_(std::move(io)), options_(options) {}
  Status LoadHeader();
  Status WriteWords(int64_t address, std::span<const int32_t> words);
  Status WriteHeader() { return WriteWords(kFirstAddress, header_); }
  // Walks a normalised path's chain as a write does, marking deleted copies "replaced".
  Status WalkChain(const std::string& path, int32_t hash, bool for_write, Chain* out);
  Status BeginWrite();
  Status EndWrite(Status status);
  enum class InsertMode { kNew, kRename, kCopy };
  Status Insert(const std::string& path, const RecordData6& data, InsertMode mode,
                const Found* source);
  Status DoRewrite(const Found& found, const RecordData6& data);
  Status WriteWord(int64_t address, int32_t value);
  Status MarkReplaced(const Chain& chain);
  Status SetStatus(const Found& found, int32_t base_status);
  Status DeleteFound(const Found& found);
  void Stamp(std::string_view program, InfoBlock* info) const;
  int64_t LockRecordByte() const;
  void TakeReadSlot();
  Status ClaimExclusivity();
  Status ReadBin(int64_t address, std::span<int32_t> out);
  Status ReadArea(int64_t address, int64_t words, std::vector<int32_t>* out);

  std::unique_ptr<dss7::FileIO> io_;
  Options6 options_;
  HeaderWords header_{};
  int64_t file_words_ = 0;
  bool crashed_writer_ = false;
  bool read_only_ = true;
  bool open_ = true;
  bool in_write_ = false;
  bool wrote_this_session_ = false;
  int read_slot_ = -1;
  bool exclusive_ = false;  // we hold the exclusive lock byte
  std::vector<std::byte> scratch_;
  int32_t kept_version_ = 0;  // 0: nothing kept
  std::string kept_program_;
};

// Squeezes the file at `path`: every live record into a fresh file beside it, which then
// replaces it. kExclusiveLocked when another process has the file open; on any failure the
// original stays as it was.
Status SqueezeFile(const std::string& path, const Options6& options = {});

// Milliseconds since 1970 of HEC's local "DDMMMYY" date and "HH:MM:SS" time; 0 when the date
// is not one. Two-digit years are 2000 to 2069, else 1900s.
int64_t StampMillis(std::string_view date, std::string_view time);

// The path a record is stored under: normalised, with a pseudo-regular "~" E part turned into
// the IR- block part its interval picks.
std::string StoredPath(std::string_view listed);

// The name HEC's catalog lists a record under: the stored path, with the E part of a
// pseudo-regular series turned back into "~" and its interval.
std::string ListedPath(const BinEntry& entry);

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_DSS6_FILE_H_
