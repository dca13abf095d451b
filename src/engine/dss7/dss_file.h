// A DSS version 7 file: open, create, look up, read, write, rewrite, delete, undelete, rename,
// copy and catalog records. Never throws; every operation returns a Status.
//
// Write ordering (every write operation): whatever I/O step fails or is cut short, every
// record must hold either its state before the operation or after it. So nothing live is
// ever overwritten, and each operation runs in this order:
//   1. mark: header word 29 := 1 (write in progress), the first write of the operation;
//   2. data: areas taken from the end of the file (new bin block, record area, end marker) in
//      one write past the old end; a fresh bin the header has not yet handed out; new info
//      blocks are written with status "moved", so a squeeze never takes them for records;
//   3. header: claims the space and updates the counters;
//   4. link: one small write makes the new data reachable (a hash-table or bin link word, a
//      new bin entry whose hash or status word is written last, a status word);
//   5. retire and activate: superseded bin entries and info blocks are marked moved, renamed
//      or deleted, then the new info block is marked live;
//   6. header again with word 29 := 0.
// A rewrite is a new record version with its own bin entry; the superseded entry (status
// "moved", a status HEC's tools never list) is the slot the next rewrite of the path reuses.
// The first write to a file whose word 29 is still set (an operation was interrupted) repairs
// what the interruption can leave: counters, half-made links, dangling entries, info blocks
// whose status disagrees with their entries.
#ifndef VARNOCK_ENGINE_DSS7_DSS_FILE_H_
#define VARNOCK_ENGINE_DSS7_DSS_FILE_H_

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/dss7/file_io.h"
#include "engine/dss7/layout.h"
#include "engine/dss7/records.h"
#include "engine/dss7/status.h"

namespace varnock::engine::dss7 {

using HeaderWords = std::array<int64_t, hdr::kWords>;
using Clock = std::function<int64_t()>;  // milliseconds since 1970-01-01

struct FileOptions {
  Clock clock;                      // system clock when empty
  std::string program = "Varnock";  // stored in the info block of records we write
  bool read_only = false;           // never write, even when the file allows it
  bool exclusive = false;           // refuse when others have it open; keep it to ourselves
  int lock_attempts = 100;          // tries for the write lock ...
  int lock_wait_ms = 50;            // ... this far apart
  // fsync around the link step and after every write operation, for callers that must
  // survive a power cut. Off by default: the write order already keeps every record whole when
  // a write fails or the process dies, and Close flushes what was written.
  bool sync_each_write = false;
};

struct CreateOptions {
  int64_t expected_paths = 0;   // picks table and bin sizes as HEC does
  int64_t hash_table_size = 0;  // 0: from expected_paths; else 2..100000
  int64_t bin_size = 0;         // 0: from expected_paths; else 30..400
};

// What HEC would call the file's version, from its first bytes.
struct VersionInfo {
  int major = 0;     // 7, 6, 5, 8 ...; 0 when not a DSS file
  std::string text;  // e.g. "7-JA"
  int full = 0;      // 10000 * 7 + 100 * X + Y for DSS-7, else 0
};

struct Record {
  InfoBlock info;
  std::array<std::vector<int32_t>, kAreaCount> areas;
};

// What a writer supplies for one record. Spans must stay valid during the call.
struct RecordData {
  int32_t type = 0;
  std::array<std::span<const int32_t>, kAreaCount> areas{};
  int64_t allocated = 0;  // int32 room for values 1-3; raised to fit them
  int64_t data_count = 0;
  int64_t logical_count = 0;  // dataCount is stored when <= 0
  DateTime first;             // time series only; 0 for other records
  DateTime last;
  std::string_view program;  // empty: FileOptions::program
  // A rewrite may change the record's type (paired data 200 <-> 205, text 300 <-> 310,
  // which HEC replaces); otherwise only 100 <-> 105 and 110 <-> 115 may change.
  bool any_type = false;
  // Kept for callers written before every rewrite went to new space; no longer needed.
  bool move_on_rewrite = false;
};

struct CatalogEntry {
  std::string path;
  int32_t type = 0;
  int64_t status = 0;
  int64_t entry_address = 0;  // bin address + offset of the entry
  int64_t info_address = 0;
  int64_t last_write_ms = 0;
  int32_t first_julian = 0;
  int32_t last_julian = 0;
};

// A catalog without a string per record: every path back to back in one block, in file
// order, for callers that read the paths once (catalog files, sorting).
struct CatalogListing {
  struct Entry {
    int64_t status = 0;
    int64_t entry_address = 0;
    int64_t info_address = 0;
    int64_t last_write_ms = 0;
    size_t path_begin = 0;
    size_t path_bytes = 0;
    int32_t type = 0;
    int32_t first_julian = 0;
    int32_t last_julian = 0;
  };
  std::vector<Entry> entries;
  std::string paths;
  std::string_view Path(const Entry& e) const {
    return std::string_view(paths).substr(e.path_begin, e.path_bytes);
  }
};

struct CatalogFilter {
  enum class Which { kLive, kDeleted, kRenamed } which = Which::kLive;
  int32_t min_type = 0;
  int32_t max_type = 1 << 30;
  int64_t changed_since_ms = 0;  // entries written at or after this time; 0 = all
};

// Type code of the location records HEC keeps beside data records (coordinates, datums).
inline constexpr int32_t kLocationType = 20;

// "/A/B/Location Info////" for a pathname "/A/B/C/D/E/F/"; empty for anything else.
std::string LocationRecordPath(std::string_view path);

// Dead space as a whole percentage of the file (0..100), whatever the header words hold: HEC's
// estimate mixes units and may exceed the file, and a damaged word may be anything.
int64_t DeadSpacePercent(const HeaderWords& header);

class DssFile {
 public:
  static Status Open(const std::string& path, const FileOptions& options,
                     std::unique_ptr<DssFile>* out);
  // A new file; kExists when a non-empty file is already there.
  static Status Create(const std::string& path, const CreateOptions& create,
                       const FileOptions& options, std::unique_ptr<DssFile>* out);
  // A missing or empty file is created, a DSS file opened; any other file is left alone
  // (kNotDssFile). Safe when several processes do it at once: see OpenOrCreateIO.
  static Status OpenOrCreate(const std::string& path, const CreateOptions& create,
                             const FileOptions& options, std::unique_ptr<DssFile>* out,
                             bool* created);
  static Status OpenIO(std::unique_ptr<FileIO> io, const FileOptions& options,
                       std::unique_ptr<DssFile>* out);
  // The emptiness test and the creation run under the primary write lock (the lock word of
  // every file we create), so of several processes opening a missing file at once exactly
  // one creates it and the others open what it made.
  static Status OpenOrCreateIO(std::unique_ptr<FileIO> io, const CreateOptions& create,
                               const FileOptions& options, std::unique_ptr<DssFile>* out,
                               bool* created);
  // `io` must be empty.
  static Status CreateIO(std::unique_ptr<FileIO> io, const CreateOptions& create,
                         const FileOptions& options, std::unique_ptr<DssFile>* out);
  // Reads only the first bytes: kOk with the version, kNotDssFile, or a read error.
  static Status ProbeVersion(FileIO& io, VersionInfo* out);
  // Takes the lock word of a file being created, waiting as for a write.
  static Status LockForCreate(FileIO& io, const FileOptions& options);
  static void ChooseSizes(int64_t expected_paths, int64_t* hash_table_size, int64_t* bin_size);

  ~DssFile();
  DssFile(const DssFile&) = delete;
  DssFile& operator=(const DssFile&) = delete;

  Status Close();
  bool read_only() const { return read_only_; }
  const HeaderWords& header() const { return header_; }
  VersionInfo version() const;
  FileIO& io() { return *io_; }
  // Re-reads the header (and drops caches when another process changed the file).
  Status Refresh();

  // Live record lookup: kOk with the info block, or kNotFound.
  Status Lookup(std::string_view path, InfoBlock* info);
  bool Exists(std::string_view path);
  Status ReadRecord(std::string_view path, Record* out);
  // Several records at once, statuses[i] as ReadRecord(paths[i], &out[i]) would give. Records
  // lying close together in the file (the blocks of one series, written together) are read
  // with one read per group. `out` and `statuses` must be as long as `paths`.
  Status ReadRecords(std::span<const std::string> paths, std::span<Record> out,
                     std::span<Status> statuses);
  Status ReadInfoAt(int64_t address, InfoBlock* out);

  Status WriteNewRecord(std::string_view path, const RecordData& data);  // kExists if live
  Status Rewrite(std::string_view path, const RecordData& data);         // kNotFound if absent
  Status Store(std::string_view path, const RecordData& data);           // either
  Status Delete(std::string_view path);
  Status Undelete(std::string_view path);  // kExists if a live record has the path
  Status Rename(std::string_view old_path, std::string_view new_path);
  // Copies a record as its info block and six areas; `target` may be this file. The location
  // record of the path's A and B parts, when there is one, is copied to the target path's A
  // and B parts as well (unless the target already holds the same).
  Status Copy(std::string_view path, DssFile& target, std::string_view target_path);

  // A group of write operations under one hold of the write lock, for bulk loads: the lock,
  // the header check, the write-in-progress mark and its clearing are paid once for the group.
  // Each operation inside keeps its own write order, so whatever is cut short, every record
  // holds its state before or after its own operation, and the next writer repairs the rest.
  // Other writers wait for EndBatch: keep a batch to a chunk of work. After an operation that
  // failed part way, the batch's later operations are refused with its status.
  Status BeginBatch();
  Status EndBatch();  // the status of the first operation that failed part way, else kOk
  bool in_batch() const { return in_batch_; }

  Status Catalog(std::vector<CatalogEntry>* out, const CatalogFilter& filter = {});
  Status ListCatalog(CatalogListing* out, const CatalogFilter& filter = {});
  // Live records in HEC's sorted-catalog order: the file's saved sort list while it is valid,
  // else HEC's column sort.
  Status SortedCatalog(std::vector<CatalogEntry>* out, bool use_saved_list = true);

  // Whole-area reads for checkers.
  Status ReadHashTable(std::vector<int64_t>* out);
  int64_t physical_words() const { return physical_words_; }

 private:
  friend class Writer;
  struct Probe;
  enum class Want { kLive, kDeleted, kRenamed };
  enum class Mode { kNew, kRewrite, kEither };
  struct CopyMeta;

  DssFile(std::unique_ptr<FileIO> io, const FileOptions& options);
  int64_t Now() const;
  Status LoadHeader();
  Status CheckGeometry() const;
  Status EnsureHashTable();
  Status ReadBin(int64_t address, std::span<int64_t> out);
  // A bin's words, from the cache when the file is unchanged since they were read.
  Status BinView(int64_t address, std::span<const int64_t>* out);
  // Whether the file's header is still header_, seen through the mapped header (no read).
  bool HeaderUnchanged() const;
  Status SyncHeader();  // reloads the header (and drops caches) unless it is unchanged
  void DropCaches();
  // Keeps the cached hash table and bins equal to what a write put on disk.
  void PatchCaches(int64_t address, std::span<const int64_t> words);
  // The words an info block at `address` may span and `body` more, in one read.
  Status ReadSpan(int64_t address, int64_t body);
  Status InfoFromSpan(int64_t address, InfoBlock* out) const;
  // The catalog walk: what each selected bin entry says.
  Status ListEntries(const CatalogFilter& filter, CatalogListing* listing);
  // The order of the file's saved sort list; *used false (and kOk) when it is stale, damaged
  // or does not name each listed record once.
  Status SavedSortOrder(const CatalogListing& listing, std::vector<size_t>* order, bool* used);
  Status FindEntry(std::string_view path, Want want, Probe* probe);
  Status ResolveInfo(int64_t address, int64_t hash, InfoBlock* out);
  Status ReadAreas(const InfoBlock& info, Record* out);
  Status DoWrite(std::string_view path, const RecordData& data, Mode mode, const CopyMeta* meta);
  Status DoRename(std::string_view old_path, std::string_view new_path);
  Status CopyRead(const Record& rec, DssFile& target, std::string_view target_path);
  Status TakeReadSlot();
  Status BeginWrite();
  Status EndWrite(Status status);
  Status WriteHeader();
  // Runs a read, and runs it again while a failure may come from a concurrent writer.
  template <typename F>
  Status ReadRetrying(F&& read);
  // Every write of a write operation goes through Put: the first one marks the header.
  Status Put(int64_t address, std::span<const int64_t> words);
  Status PutWord(int64_t address, int64_t value);
  Status Repair();  // under the write lock, after an interrupted operation
  void RepairIfInterrupted();
  Status Barrier();  // fsync when FileOptions::sync_each_write asks for it

  std::unique_ptr<FileIO> io_;
  FileOptions options_;
  HeaderWords header_{};
  int64_t physical_words_ = 0;
  bool read_only_ = false;
  bool open_ = false;
  bool in_write_ = false;
  bool marked_ = false;    // this operation has set the write-in-progress word
  bool unsynced_ = false;  // written since the last fsync
  bool stale_ = false;     // a write failed: reload everything before the next operation
  std::vector<int64_t> hash_table_;
  bool hash_table_loaded_ = false;
  std::vector<int64_t> scratch_;
  const std::byte* header_view_ = nullptr;  // live mapped header, when the FileIO has one
  // Bins read while the file was unchanged, by address; dropped with the hash table.
  std::map<int64_t, std::vector<int64_t>> bins_;  // ordered: a write finds what it overlaps
  std::unordered_map<int64_t, const std::vector<int64_t>*> bin_index_;  // lookups
  int64_t bin_cache_words_ = 0;
  // The last ReadSpan: a record's info block and, for record reads, its areas.
  std::vector<int64_t> record_buf_;
  int64_t record_buf_at_ = 0;
  int64_t body_guess_ = 0;  // words of areas the last record read needed past its info block
  bool want_body_ = false;
  bool in_batch_ = false;
  Status batch_status_ = Status::kOk;
  int64_t puts_ = 0;  // writes of the current operation or batch
  int read_slot_ = -1;
  int write_slot_ = -1;
  bool exclusive_held_ = false;
};

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_DSS_FILE_H_
