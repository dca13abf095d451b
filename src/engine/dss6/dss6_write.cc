// The write side of a DSS-6 file: new records, rewrites, delete, undelete, rename, and the
// locks HEC's processes use to share a file.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <thread>

#include "engine/dss6/dss6_file.h"
#include "engine/dss6/dss6_file_internal.h"
#include "engine/dss7/hash.h"

namespace varnock::engine::dss6 {
using namespace internal;

// The result of walking one path's chain.
struct Dss6File::Chain {
  int32_t hash = 0;
  int64_t head = 0;      // first bin of the chain (0: none yet)
  int64_t last_bin = 0;  // bin holding the end of the chain
  int32_t end_offset = 0;
  int64_t entries_passed = 0;  // entries and full-bin markers before the end
  bool found = false;          // first entry with the path whose status is live or deleted
  Found match;
  std::vector<std::pair<int64_t, int64_t>> replaced;  // (entry address, info address)
};

// The info block's addresses and sizes of the four areas, in their fixed order.
static void PointAtAreas(const int64_t (&at)[4], const std::span<const int32_t> (&areas)[4],
                         InfoBlock* info) {
  info->internal_header_address = static_cast<int32_t>(at[0]);
  info->internal_header_words = static_cast<int32_t>(areas[0].size());
  info->compression_header_address = static_cast<int32_t>(at[1]);
  info->compression_header_words = static_cast<int32_t>(areas[1].size());
  info->user_header_address = static_cast<int32_t>(at[2]);
  info->user_header_words = static_cast<int32_t>(areas[2].size());
  info->data_address = static_cast<int32_t>(at[3]);
  info->data_words = static_cast<int32_t>(areas[3].size());
}

// One write operation's pending words, written in the order the class comment gives.
class Writer6 {
 public:
  explicit Writer6(Dss6File& f) : f_(f), tail_start_(f.header_[hdr::kFileSize]) {}

  // Space past the end of the file. Nothing is taken once the file would pass DSS-6's size
  // limit; the operation must then check too_large() before it fills the space.
  int64_t Allocate(int64_t words) {
    const int64_t at = f_.header_[hdr::kFileSize];
    if (too_large_ || words < 0 || at + words > kMaxFileWords) {
      too_large_ = true;
      return at;
    }
    f_.header_[hdr::kFileSize] = static_cast<int32_t>(at + words);
    tail_.resize(static_cast<size_t>(at + words - tail_start_), 0);
    return at;
  }
  bool too_large() const { return too_large_; }
  std::span<int32_t> TailAt(int64_t address, int64_t words) {
    return std::span(tail_).subspan(static_cast<size_t>(address - tail_start_),
                                    static_cast<size_t>(words));
  }
  bool InTail(int64_t address) const { return address >= tail_start_; }
  // Whether `words` words from `address` lie in what this write has allocated: a damaged
  // header can hand out a bin past the end of the file.
  bool TailHolds(int64_t address, int64_t words) const {
    return address >= tail_start_ && words >= 0 &&
           address - tail_start_ + words <= static_cast<int64_t>(tail_.size());
  }

  // HEC's bin hand-out: the next bin of the current block, or the first of a new block.
  int64_t TakeBin() {
    auto& h = f_.header_;
    Saturate(h, hdr::kBinsUsed, 1);
    const int32_t per_block = h[hdr::kBinsPerBlock];
    if (h[hdr::kBinsLeft] > 0) {
      const int64_t bin = h[hdr::kNextBin];
      h[hdr::kBinsLeft] -= 1;
      if (h[hdr::kBinsLeft] > 0) h[hdr::kNextBin] += kBinWords;
      return bin;
    }
    const int64_t block = RoundUpToRecord(h[hdr::kFileSize]);
    block_link_at_ = h[hdr::kNextBin] + bin::kBlockLink;
    block_link_value_ = static_cast<int32_t>(block);
    Allocate(block - h[hdr::kFileSize]);
    Allocate(int64_t{per_block} * kBinWords);
    h[hdr::kBinsLeft] = per_block - 1;
    h[hdr::kNextBin] = static_cast<int32_t>(per_block > 1 ? block + kBinWords : block);
    return block;
  }

  // Everything past the old end, then the end-of-file marker after it.
  Status WriteData() {
    tail_.push_back(kEndFileMarker);
    const Status s = f_.WriteWords(tail_start_, tail_);
    tail_.pop_back();
    return s;
  }
  Status WriteBlockLink() {
    if (block_link_at_ == 0) return Status::kOk;
    const std::array<int32_t, 1> w{block_link_value_};
    return f_.WriteWords(block_link_at_, w);
  }

 private:
  Dss6File& f_;
  int64_t tail_start_;
  std::vector<int32_t> tail_;
  int64_t block_link_at_ = 0;
  int32_t block_link_value_ = 0;
  bool too_large_ = false;
};

int64_t Dss6File::LockRecordByte() const {
  if (header_[hdr::kTableFlag] == kTableFlagStable) return kRecordBytes;
  const int64_t a = int64_t{header_[hdr::kHashCodes]} + kHashTableBase + 1;
  const int64_t r = (a - 1) / kWordsPerRecord + ((a - 1) % kWordsPerRecord != 0 ? 1 : 0);
  return kRecordBytes * r;
}

void Dss6File::TakeReadSlot() {
  const int64_t base = LockRecordByte() + kReadSlotByte;
  for (int i = 0; i < kReadSlots; ++i) {
    const Status s = io_->TryLock(base + kLockBytes * i, kLockBytes);
    if (s == Status::kOk) {
      read_slot_ = i;
      return;
    }
    if (s != Status::kLockBusy) return;  // e.g. a read-only descriptor: HEC goes on too
  }
}

Status Dss6File::Close() {
  if (!open_) return Status::kOk;
  open_ = false;
  Status s = wrote_this_session_ ? io_->Sync() : Status::kOk;
  if (read_slot_ >= 0) {
    (void)io_->Unlock(LockRecordByte() + kReadSlotByte + kLockBytes * read_slot_, kLockBytes);
  }
  read_slot_ = -1;
  if (exclusive_) (void)io_->Unlock(LockRecordByte() + kExclusiveByte, kLockBytes);
  exclusive_ = false;
  return s;
}

Status Dss6File::WriteWords(int64_t address, std::span<const int32_t> words) {
  const auto n = static_cast<int64_t>(words.size());
  if (n == 0) return Status::kOk;
  if (address < kFirstAddress || address > INT32_MAX - n) return Status::kDamaged;
  const int64_t start = ByteOffset(address);
  int64_t end = start + SpanBytes(address, n);
  // The file stays a whole number of physical records: a write past the end fills its last
  // record with zeros (which also zeroes its spare bytes).
  const bool extends = address - 1 + n > file_words_;
  if (extends) end = (end + kRecordBytes - 1) / kRecordBytes * kRecordBytes;
  std::vector<std::byte> bytes(static_cast<size_t>(end - start), std::byte{0});
  ScatterWords(words, address, bytes);
  const Status s = io_->WriteBytes(start, bytes);
  if (s != Status::kOk) return s;
  if (extends) file_words_ = end / kRecordBytes * kWordsPerRecord;
  return Status::kOk;
}

Status Dss6File::ClaimExclusivity() {
  const int64_t byte = LockRecordByte() + kExclusiveByte;
  bool held = false;
  Status s = io_->TestLock(byte, kLockBytes, &held);
  if (s == Status::kOk && held) return Status::kExclusiveLocked;
  // A file we cannot write takes no lock: nobody is kept out by a reader.
  if (!options_.exclusive || read_only_) return Status::kOk;
  if (s != Status::kOk) return s;
  bool others = false;
  s = OthersHaveItOpen(&others);
  if (s != Status::kOk) return s;
  if (others) return Status::kExclusiveLocked;
  s = io_->TryLock(byte, kLockBytes);
  if (s == Status::kLockBusy) return Status::kExclusiveLocked;
  exclusive_ = s == Status::kOk;
  return s;
}

Status Dss6File::BeginWrite() {
  if (!open_) return Status::kNotOpen;
  if (read_only_) return Status::kReadOnly;
  const int64_t lock = LockRecordByte();
  bool held = false;
  Status s = io_->TestLock(lock + kExclusiveByte, kLockBytes, &held);
  if (s == Status::kOk && held) return Status::kExclusiveLocked;
  for (int attempt = 0;; ++attempt) {
    s = io_->TryLock(lock + kWriteLockByte, kLockBytes);
    if (s == Status::kOk) break;
    if (s != Status::kLockBusy) return s;
    if (attempt + 1 >= options_.lock_attempts) return Status::kLockBusy;
    std::this_thread::sleep_for(std::chrono::milliseconds(options_.lock_wait_ms));
  }
  in_write_ = true;
  // Another process may have written since we last looked.
  s = LoadHeader();
  if (s == Status::kOk && header_[hdr::kFileSize] - 1 > file_words_) s = Status::kDamaged;
  if (s == Status::kOk && crashed_writer_) s = Status::kReadOnly;
  if (s != Status::kOk) return EndWrite(s);
  if (!wrote_this_session_) {
    std::string date, time;
    DateTimeText(options_.clock ? options_.clock() : SystemLocalTime(), &date, &time);
    const std::span<int32_t> words(header_);
    StoreChars(date, words.subspan(hdr::kLastWriteDate, 2), '\0');
    StoreChars(time, words.subspan(hdr::kLastWriteTime, 2));
  }
  return Status::kOk;
}

Status Dss6File::EndWrite(Status status) {
  if (!in_write_) return status;
  if (status == Status::kOk) wrote_this_session_ = true;
  (void)io_->Unlock(LockRecordByte() + kWriteLockByte, kLockBytes);
  in_write_ = false;
  if (status != Status::kOk) (void)LoadHeader();  // forget what the failed write planned
  return status;
}

void Dss6File::KeepStamps(const container::RecordInfo* source) {
  kept_version_ = source == nullptr ? 0 : std::clamp(source->version, 1, kMaxRecordVersion);
  kept_program_ = source == nullptr ? std::string() : source->program;
}

void Dss6File::Stamp(std::string_view program, InfoBlock* info) const {
  DateTimeText(options_.clock ? options_.clock() : SystemLocalTime(), &info->date, &info->time);
  if (program.empty()) program = kept_version_ > 0 ? kept_program_ : options_.program;
  info->program = std::string(program.substr(0, info::kProgramChars));
}

Status Dss6File::WalkChain(const std::string& path, int32_t hash, bool for_write, Chain* out) {
  *out = Chain{};
  out->hash = hash;
  if (header_[hdr::kTableFlag] == kTableFlagStable) {
    out->head = header_[hdr::kFirstBin] + int64_t{hash - 1} * kBinWords;
  } else {
    std::array<int32_t, 1> head{};
    const Status s = ReadWords(kHashTableBase + hash, head);
    if (s != Status::kOk) return s;
    out->head = head[0];
  }
  std::array<int32_t, kBinWords> bin{};
  const int64_t max_hops = file_words_ / kBinWords + 1;
  int64_t address = out->head;
  for (int64_t hop = 0; address != 0; ++hop) {
    if (hop > max_hops) return Status::kDamaged;
    Status s = ReadBin(address, bin);
    if (s != Status::kOk) return s;
    int64_t next = 0;
    BinEntry e;
    for (int32_t at = 0;; at += e.Words()) {
      const EntryScan scan = DecodeBinEntry(bin, at, &e);
      if (scan == EntryScan::kMalformed) return Status::kDamaged;
      if (scan == EntryScan::kEnd) {
        if (at > bin::kLastEntryWord) return Status::kDamaged;  // no end marker where HEC puts one
        out->last_bin = address;
        out->end_offset = at;
        return Status::kOk;
      }
      out->entries_passed += 1;
      if (scan == EntryScan::kFull) {
        next = bin[bin::kOverflowLink];
        break;
      }
      if (e.path != path) continue;
      const int32_t base = entry_status::Base(e.status);
      if (for_write && base == entry_status::kDeleted) {
        out->replaced.emplace_back(address + at, e.info_address);
      } else if (!out->found && (base == entry_status::kLive || base == entry_status::kDeleted)) {
        InfoBlock info;
        s = ReadInfoAt(e.info_address, &info);
        if (s != Status::kOk) return s;
        if (info.path != path) return Status::kPathMismatch;
        out->found = true;
        out->match.entry = e;
        out->match.info = std::move(info);
        out->match.entry_address = address + at;
      }
    }
    address = next;
  }
  // The chain ended at a full bin with no overflow bin: damaged.
  return out->head == 0 ? Status::kOk : Status::kDamaged;
}

Status Dss6File::WriteWord(int64_t address, int32_t value) {
  const std::array<int32_t, 1> w{value};
  return WriteWords(address, w);
}

// Entries passed during a write lookup that were deleted copies of the path become "replaced",
// so that an undelete can never revive one next to the live record.
Status Dss6File::MarkReplaced(const Chain& chain) {
  for (const auto& [entry, info] : chain.replaced) {
    std::array<int32_t, 1> w{};
    Status s = ReadWords(entry, w);
    if (s == Status::kOk)
      s = WriteWord(entry, w[0] - entry_status::kDeleted + entry_status::kReplaced);
    if (s == Status::kOk) s = ReadWords(info + info::kStatus, w);
    if (s == Status::kOk && entry_status::Base(w[0]) == entry_status::kDeleted) {
      s = WriteWord(info + info::kStatus, w[0] - entry_status::kDeleted + entry_status::kReplaced);
    }
    if (s != Status::kOk) return s;
  }
  return Status::kOk;
}

Status Dss6File::Insert(const std::string& path, const RecordData6& data, InsertMode mode,
                        const Found* source) {
  const int32_t hash = PathHash(path, header_[hdr::kHashCodes]);
  Chain chain;
  Status s = WalkChain(path, hash, true, &chain);
  if (s != Status::kOk) return s;
  if (chain.found && entry_status::IsLive(chain.match.entry.status)) return Status::kExists;
  const bool long_path = IsLongPath(path);
  const int32_t p = PathWords(static_cast<int64_t>(path.size()));
  auto& h = header_;
  Writer6 w(*this);

  // Where the entry goes: a new first bin, the end of the chain, or a new overflow bin.
  int64_t bin = 0;
  int32_t offset = 0;
  bool fresh = false;
  if (chain.head == 0) {
    bin = w.TakeBin();
    fresh = true;
  } else if (EntryFits(chain.end_offset, p)) {
    bin = chain.last_bin;
    offset = chain.end_offset;
  } else {
    bin = w.TakeBin();
    fresh = true;
    Saturate(h, hdr::kOverflowBins, 1);
  }

  // Statistics HEC keeps for every new path.
  if (chain.entries_passed == 0) Saturate(h, hdr::kHashesUsed, 1);
  if (chain.entries_passed > h[hdr::kMaxEntriesMet]) {
    h[hdr::kMaxEntriesMet] = static_cast<int32_t>(chain.entries_passed);
    h[hdr::kMaxEntriesHash] = hash;
  }
  std::array<std::string_view, 6> parts;
  if (dss7::SplitParts(path, &parts)) {
    const std::span<int32_t> words(h);
    std::string longest = LoadChars(words.subspan(hdr::kLongestParts, 2), 8);
    for (size_t k = 0; k < 6; ++k) {
      const auto n = static_cast<unsigned char>(std::min<size_t>(parts[k].size(), 255));
      if (n > static_cast<unsigned char>(longest[k])) longest[k] = static_cast<char>(n);
    }
    StoreChars(longest, words.subspan(hdr::kLongestParts, 2), '\0');
  }
  if (path.find("/C:") != std::string::npos && path.find('|') != std::string::npos) {
    const size_t c = path.find("/C:");
    if (c + 9 < path.size() && path[c + 9] == '|') h[hdr::kCollectionFlag] = 1;
  }

  // The info block and areas at the end of the file.
  InfoBlock info;
  BinEntry entry;
  if (mode == InsertMode::kRename) {
    // The new name's info block points at the old areas and keeps every other word.
    info = source->info;
    entry = source->entry;
  } else {
    std::string explicit_tag;
    if (mode == InsertMode::kCopy) {
      entry.tag = source->info.tag;
    } else if (options_.next_tag && options_.next_tag(&explicit_tag)) {
      // An explicit tag leaves the default-tag counter alone; control bytes become blanks.
      for (char& c : explicit_tag) {
        if (static_cast<unsigned char>(c) < 32) c = ' ';
      }
      entry.tag = explicit_tag.substr(0, 8);
    } else {
      Saturate(h, hdr::kTagSequence, 1);
      entry.tag = "T" + std::to_string(h[hdr::kTagSequence]);
    }
    info.tag = entry.tag;
    info.version = 1;
    info.type = data.type;
    info.compression = data.compression;
    info.quality_flag = data.quality_flag;
    info.precision = data.precision;
    info.logical_count = data.logical_count;
    Stamp(data.program, &info);
    entry.type = data.type;
    entry.logical_count = data.logical_count;
    entry.user_header_words = static_cast<int32_t>(data.user_header.size());
    entry.data_words = static_cast<int32_t>(data.data.size());
    entry.pseudo_interval = data.pseudo_interval;
    if (mode == InsertMode::kCopy) {  // a copy keeps its identity: version, writer, write time
      info.version = source->info.version;
      info.program = source->info.program;
      info.date = source->info.date;
      info.time = source->info.time;
    } else if (kept_version_ > 0) {
      info.version = kept_version_;
    }
  }
  info.status = WithLong(entry_status::kLive, long_path);
  info.path = path;
  info.path_bytes = static_cast<int32_t>(path.size());
  const int64_t info_address = w.Allocate(info.Words());
  if (mode != InsertMode::kRename) {
    const std::span<const int32_t> areas[] = {data.internal_header, data.compression_header,
                                              data.user_header, data.data};
    int64_t at[4];
    for (int a = 0; a < 4; ++a)
      at[a] = w.Allocate(static_cast<int64_t>(areas[a].size()));
    // Refused before anything is written: the file would pass DSS-6's size limit.
    if (w.too_large()) return Status::kInvalidArgument;
    for (int a = 0; a < 4; ++a) {
      std::copy(areas[a].begin(), areas[a].end(),
                w.TailAt(at[a], static_cast<int64_t>(areas[a].size())).begin());
    }
    PointAtAreas(at, areas, &info);
    Saturate(h, hdr::kRecordCount, 1);
  }
  if (w.too_large()) return Status::kInvalidArgument;
  EncodeInfoBlock(info, w.TailAt(info_address, info.Words()));
  entry.status = info.status;
  entry.path = path;
  entry.path_bytes = info.path_bytes;
  entry.path_words = p;
  entry.info_address = static_cast<int32_t>(info_address);
  entry.hash = hash;
  std::vector<int32_t> entry_words(static_cast<size_t>(entry.Words()), 0);
  EncodeBinEntry(entry, entry_words);

  // 1. data (a fresh bin in the tail gets its entry there; one already in the file before the
  // header hands it out), 2. header, 3. links, 4. retire.
  if (fresh && w.InTail(bin)) {
    if (!w.TailHolds(bin, entry.Words())) return Status::kDamaged;
    std::copy(entry_words.begin(), entry_words.end(), w.TailAt(bin, entry.Words()).begin());
  }
  s = w.WriteData();
  if (s == Status::kOk && fresh && !w.InTail(bin)) s = WriteWords(bin, entry_words);
  if (s == Status::kOk) s = WriteHeader();
  if (s == Status::kOk) s = w.WriteBlockLink();
  if (s == Status::kOk) {
    if (!fresh) {
      s = WriteWords(bin + offset, entry_words);
    } else if (chain.head == 0) {
      s = WriteWord(kHashTableBase + hash, static_cast<int32_t>(bin));
    } else {
      s = WriteWord(chain.last_bin + bin::kOverflowLink, static_cast<int32_t>(bin));
      if (s == Status::kOk) s = WriteWord(chain.last_bin + chain.end_offset, entry_status::kFull);
    }
  }
  if (s == Status::kOk) s = MarkReplaced(chain);
  return s;
}

Status Dss6File::DoRewrite(const Found& f, const RecordData6& data) {
  const InfoBlock& old = f.info;
  const int64_t new_words = static_cast<int64_t>(data.internal_header.size()) +
                            static_cast<int64_t>(data.compression_header.size()) +
                            static_cast<int64_t>(data.user_header.size()) +
                            static_cast<int64_t>(data.data.size());
  const int64_t old_words = int64_t{old.internal_header_words} + old.compression_header_words +
                            old.user_header_words + old.data_words + old.unused_words;
  InfoBlock info = old;
  info.version = kept_version_ > 0 ? kept_version_ : std::min(old.version + 1, kMaxRecordVersion);
  info.type = data.type;
  info.compression = data.compression;
  info.quality_flag = data.quality_flag;
  info.precision = data.precision;
  Stamp(data.program, &info);
  BinEntry entry = f.entry;
  entry.user_header_words = static_cast<int32_t>(data.user_header.size());
  entry.data_words = static_cast<int32_t>(data.data.size());
  entry.logical_count = data.logical_count;
  entry.type = data.type;
  const std::span<const int32_t> areas[] = {data.internal_header, data.compression_header,
                                            data.user_header, data.data};
  const auto lay_out = [&](int64_t start, auto&& place) {
    int64_t at = start;
    int64_t where[4];
    for (int a = 0; a < 4; ++a) {
      where[a] = at;
      place(at, areas[a]);
      at += static_cast<int64_t>(areas[a].size());
    }
    PointAtAreas(where, areas, &info);
  };
  auto& h = header_;
  std::vector<int32_t> entry_words(static_cast<size_t>(entry.Words()), 0);
  Status s = Status::kOk;
  if (new_words > old_words) {
    // Grows: a new info block and areas at the end; the old info block is abandoned.
    Writer6 w(*this);
    const int64_t info_address = w.Allocate(info.Words());
    w.Allocate(new_words);
    if (w.too_large()) return Status::kInvalidArgument;  // before anything is written
    lay_out(info_address + info.Words(), [&](int64_t at, std::span<const int32_t> area) {
      std::copy(area.begin(), area.end(), w.TailAt(at, static_cast<int64_t>(area.size())).begin());
    });
    info.address = info_address;
    info.logical_count = data.logical_count;
    info.unused_words = 0;
    EncodeInfoBlock(info, w.TailAt(info_address, info.Words()));
    entry.info_address = static_cast<int32_t>(info_address);
    EncodeBinEntry(entry, entry_words);
    Saturate(h, hdr::kDeadSpace, old_words + old.Words());
    s = w.WriteData();
    if (s == Status::kOk) s = WriteHeader();
    if (s == Status::kOk) s = WriteWords(f.entry_address, entry_words);
    if (s == Status::kOk) s = WriteWord(old.address + info::kStatus, entry_status::kAbandoned);
    return s;
  }
  // Fits: in place, from the internal header's address; the info block keeps its logical count
  // as HEC's does.
  lay_out(old.internal_header_address, [&](int64_t at, std::span<const int32_t> area) {
    if (s == Status::kOk) s = WriteWords(at, area);
  });
  info.unused_words = static_cast<int32_t>(old_words - new_words);
  if (new_words < old_words) {
    Saturate(h, hdr::kDeadSpace, old_words - new_words);
  } else if (old.unused_words > 0) {
    Saturate(h, hdr::kDeadSpace, new_words - old_words - old.unused_words);
  }
  std::vector<int32_t> info_words(static_cast<size_t>(info.Words()), 0);
  EncodeInfoBlock(info, info_words);
  if (s == Status::kOk) s = WriteWords(old.address, info_words);
  if (s == Status::kOk &&
      (entry.user_header_words != f.entry.user_header_words ||
       entry.data_words != f.entry.data_words || entry.logical_count != f.entry.logical_count ||
       entry.type != f.entry.type)) {
    EncodeBinEntry(entry, entry_words);
    s = WriteWords(f.entry_address, entry_words);
  }
  if (s == Status::kOk) s = WriteHeader();
  return s;
}

Status Dss6File::SetStatus(const Found& f, int32_t base_status) {
  const int32_t status = WithLong(base_status, f.entry.status > entry_status::kLongPath);
  Status s = WriteWord(f.entry_address + bin::kStatus, status);
  if (s == Status::kOk) s = WriteWord(f.info.address + info::kStatus, status);
  return s;
}

Status Dss6File::DeleteFound(const Found& f) {
  Status s = SetStatus(f, entry_status::kDeleted);
  if (s != Status::kOk) return s;
  Saturate(header_, hdr::kRecordCount, -1);
  Saturate(header_, hdr::kDeadSpace,
           int64_t{f.info.Words()} + f.entry.user_header_words + f.entry.data_words);
  return WriteHeader();
}

Status Dss6File::WriteNewRecord(std::string_view raw, const RecordData6& data) {
  return NoThrow([&]() -> Status {
    const std::string path = NormalisePath(raw);
    if (!ValidPath(path)) return Status::kInvalidArgument;
    Status s = BeginWrite();
    if (s != Status::kOk) return s;
    return EndWrite(Insert(path, data, InsertMode::kNew, nullptr));
  });
}

Status Dss6File::Rewrite(std::string_view raw, const RecordData6& data) {
  return NoThrow([&]() -> Status {
    const std::string path = NormalisePath(raw);
    if (!ValidPath(path)) return Status::kInvalidArgument;
    Status s = BeginWrite();
    if (s != Status::kOk) return s;
    Chain chain;
    s = WalkChain(path, PathHash(path, header_[hdr::kHashCodes]), true, &chain);
    if (s == Status::kOk && !(chain.found && entry_status::IsLive(chain.match.entry.status))) {
      s = Status::kNotFound;
    }
    if (s == Status::kOk) s = DoRewrite(chain.match, data);
    if (s == Status::kOk) s = MarkReplaced(chain);
    return EndWrite(s);
  });
}

Status Dss6File::Store(std::string_view raw, const RecordData6& data) {
  const Status s = Rewrite(raw, data);
  return s == Status::kNotFound ? WriteNewRecord(raw, data) : s;
}

Status Dss6File::Delete(std::string_view raw) {
  return NoThrow([&]() -> Status {
    const std::string path = NormalisePath(raw);
    Status s = BeginWrite();
    if (s != Status::kOk) return s;
    Chain chain;
    s = WalkChain(path, PathHash(path, header_[hdr::kHashCodes]), true, &chain);
    if (s == Status::kOk && !(chain.found && entry_status::IsLive(chain.match.entry.status))) {
      s = Status::kNotFound;
    }
    if (s == Status::kOk) s = DeleteFound(chain.match);
    if (s == Status::kOk) s = MarkReplaced(chain);
    return EndWrite(s);
  });
}

Status Dss6File::Undelete(std::string_view raw) {
  return NoThrow([&]() -> Status {
    const std::string path = NormalisePath(raw);
    Status s = BeginWrite();
    if (s != Status::kOk) return s;
    Chain chain;
    s = WalkChain(path, PathHash(path, header_[hdr::kHashCodes]), false, &chain);
    if (s == Status::kOk && !chain.found) s = Status::kNotFound;
    if (s == Status::kOk && entry_status::IsLive(chain.match.entry.status)) s = Status::kExists;
    if (s == Status::kOk) s = SetStatus(chain.match, entry_status::kLive);
    if (s == Status::kOk) {
      const Found& f = chain.match;
      Saturate(header_, hdr::kRecordCount, 1);
      Saturate(header_, hdr::kDeadSpace,
               -(int64_t{f.info.Words()} + f.entry.user_header_words + f.entry.data_words));
      s = WriteHeader();
    }
    return EndWrite(s);
  });
}

Status Dss6File::Rename(std::string_view raw_old, std::string_view raw_new) {
  return NoThrow([&]() -> Status {
    const std::string from = NormalisePath(raw_old);
    const std::string to = NormalisePath(raw_new);
    if (!ValidPath(to)) return Status::kInvalidArgument;
    if (from == to) return Status::kInvalidArgument;
    Status s = BeginWrite();
    if (s != Status::kOk) return s;
    Chain old_chain;
    s = WalkChain(from, PathHash(from, header_[hdr::kHashCodes]), false, &old_chain);
    if (s == Status::kOk &&
        !(old_chain.found && entry_status::IsLive(old_chain.match.entry.status))) {
      s = Status::kNotFound;
    }
    if (s != Status::kOk) return EndWrite(s);
    // A live record under the new name is deleted first, as HEC does.
    Chain target;
    s = WalkChain(to, PathHash(to, header_[hdr::kHashCodes]), false, &target);
    if (s == Status::kOk && target.found && entry_status::IsLive(target.match.entry.status)) {
      s = DeleteFound(target.match);
    }
    if (s == Status::kOk) s = Insert(to, {}, InsertMode::kRename, &old_chain.match);
    if (s == Status::kOk) s = SetStatus(old_chain.match, entry_status::kRenamed);
    return EndWrite(s);
  });
}

}  // namespace varnock::engine::dss6
