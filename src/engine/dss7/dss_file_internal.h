// Pieces shared by the DssFile implementation files; not part of the file layer's API.
#ifndef VARNOCK_ENGINE_DSS7_DSS_FILE_INTERNAL_H_
#define VARNOCK_ENGINE_DSS7_DSS_FILE_INTERNAL_H_

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <vector>

#include "engine/dss7/dss_file.h"

namespace varnock::engine::dss7 {

// Result of walking one path's hash chain.
struct DssFile::Probe {
  bool full_walk = false;    // writers: walk the whole chain even after a match
  bool locate_only = false;  // find the entry, leave its info block unread
  int64_t bin_hash = 0;
  int32_t table_hash = 0;
  int64_t chain_head = 0;      // hash-table entry (0: no chain yet)
  int64_t last_bin = 0;        // last bin of the chain
  int64_t entries_passed = 0;  // entries looked at before the match
  bool collision = false;      // another path with the same hash and length was met
  bool found = false;
  int64_t entry_bin = 0;
  int64_t entry_offset = 0;
  BinEntry entry;
  InfoBlock info;  // of a live or deleted match
  // A superseded (moved) or deleted entry of the same path that a new entry may take over.
  int64_t dead_slot_bin = 0;
  int64_t dead_slot_offset = 0;
};

struct DssFile::CopyMeta {
  const InfoBlock* source = nullptr;  // identity words carried over from the source record
  int32_t expansions = 0;
};

// Where a new bin entry goes and how it is linked in.
struct Placement {
  // kInBin: appended after the last entry of a bin; kReuse: over a dead entry of the path.
  enum class Kind { kHashTable, kOverflow, kInBin, kReuse } kind = Kind::kInBin;
  int64_t bin = 0;
  int64_t offset = 0;
  int64_t link_address = 0;  // hash-table word or previous bin's link word
  std::vector<int64_t> entry;
};

// One write operation's pending changes, written in the order DssFile documents.
class Writer {
 public:
  explicit Writer(DssFile& f);
  // Takes words from the end of the file; they land in the tail written by WriteData().
  int64_t Allocate(int64_t words);
  // A record's area: a piece listed in the reclaim table when one is big enough, else the end.
  // `granted` may exceed `words`: the rest of a piece too small to list again.
  Status AllocateRecord(int64_t words, int64_t* address, int64_t* granted);
  // Lists a superseded record's space for reuse (after the operation has retired it).
  Status Free(int64_t address, int64_t words);
  std::span<int64_t> TailAt(int64_t address, int64_t words);
  // Places a new entry for `path` after the chain `probe` walked, taking a bin if needed.
  Status PlanEntry(const DssFile::Probe& probe, const BinEntry& entry, std::string_view path,
                   Placement* out);
  // Sets the entry's info address and puts it into its fresh bin, if it has one.
  void FinishEntry(Placement* p, int64_t info_address);
  Status WriteData();
  // The new bin block's link (if any), then the one write that makes the entry reachable.
  Status WriteLink(const Placement& p);
  Status WriteWord(int64_t address, int64_t value);
  // Header statistics for a path newly entered, and for a record's areas.
  void NoteNewPath(std::string_view path, const DssFile::Probe& probe);
  void NoteAreaMaxima(const InfoBlock& info);
  void CountAreas(const InfoBlock& info, int64_t delta);

 private:
  Status TakeBin(int64_t* bin);

  Status Link(const Placement& p);
  Status ReadReclaimTable(std::vector<int64_t>* table, int64_t* at);

  DssFile& f_;
  int64_t reuse_at_ = 0;  // a reused piece's new record area, written by WriteData()
  std::vector<int64_t> reuse_words_;
  int64_t reuse_pair_at_ = 0;  // the reclaim pair's length word, and its new value
  int64_t reuse_pair_length_ = 0;
  int64_t tail_start_;
  std::vector<int64_t> tail_;
  int64_t fresh_bin_ = 0;
  std::vector<int64_t> fresh_bin_words_;
  int64_t block_link_at_ = 0;
  int64_t block_link_value_ = 0;
};

// Header counters may hold anything in a damaged file: adding saturates, and counts never go
// below zero.
inline void AddTo(HeaderWords& h, int word, int64_t delta) {
  int64_t sum = 0;
  if (__builtin_add_overflow(h[word], delta, &sum)) sum = delta > 0 ? INT64_MAX : INT64_MIN;
  h[word] = std::max<int64_t>(sum, 0);
}
inline int32_t Next(int32_t v) {
  return v == INT32_MAX ? v : v + 1;
}

// Runs an operation, turning allocation failures into a status.
template <typename F>
Status NoThrow(F&& f) {
  try {
    return f();
  } catch (const std::bad_alloc&) {
    return Status::kNoMemory;
  } catch (const std::length_error&) {
    return Status::kNoMemory;
  }
}

// Reads take no lock. A writer in another process may be between two steps of an operation,
// or this handle's header may predate the writer's last operation (a new bin block, a record
// past the end we know). So when a read fails in a way a concurrent write can cause, look at
// the file afresh and try again while the file keeps changing or a writer is at work (its
// lock held and the header's write-in-progress word set). A failure on a file that stays
// still stands.
inline constexpr int kReadRetries = 100;
inline constexpr int kReadRetryWaitMs = 5;

template <typename F>
Status DssFile::ReadRetrying(F&& read) {
  for (int attempt = 0;; ++attempt) {
    // Cached bins answer only for a file unchanged since they were read.
    Status s = stale_ ? LoadHeader() : SyncHeader();
    if (s == Status::kOk) s = NoThrow(read);
    if (s != Status::kDamaged && s != Status::kNotFound && s != Status::kPathMismatch &&
        s != Status::kReadError && s != Status::kInvalidHeader) {
      return s;
    }
    if (attempt >= kReadRetries) return s;
    // Unchanged and no other writer at work (we hold the lock, or nobody marked the header):
    // the answer stands without another look.
    if (!stale_ && HeaderUnchanged() && (in_write_ || header_[hdr::kWriteInProgress] == 0))
      return s;
    const HeaderWords seen = header_;
    const int64_t seen_words = physical_words_;
    if (LoadHeader() != Status::kOk) {
      stale_ = true;
      std::this_thread::sleep_for(std::chrono::milliseconds(kReadRetryWaitMs));
      continue;
    }
    bool writing = false;
    if (header_[hdr::kWriteInProgress] != 0) {
      bool held = false;
      writing = io_->TestWords(header_[hdr::kLockWordsAddress], 1, &held) == Status::kOk && held;
    }
    if (!writing && header_ == seen && physical_words_ == seen_words) return s;
    if (writing) std::this_thread::sleep_for(std::chrono::milliseconds(kReadRetryWaitMs));
  }
}

}  // namespace varnock::engine::dss7

#endif  // VARNOCK_ENGINE_DSS7_DSS_FILE_INTERNAL_H_
