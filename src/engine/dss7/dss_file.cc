#include "engine/dss7/dss_file.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

#include "engine/dss7/codec.h"
#include "engine/dss7/dss_file_internal.h"
#include "engine/dss7/hash.h"
#include "engine/dss7/posix_file_io.h"

namespace varnock::engine::dss7 {
namespace {

constexpr int kMaxAliasHops = 64;
constexpr int64_t kMaxLockArray = 100;
constexpr int64_t kMaxFileWords = int64_t{1} << 40;
constexpr int64_t kMaxCachedBinWords = int64_t{1} << 23;  // 64 MB of bins
constexpr int64_t kMaxBodyGuess = int64_t{1} << 17;       // 1 MB read ahead of a record's areas
constexpr int64_t kMaxGroupWords = int64_t{1} << 19;      // 4 MB: one read of several records
constexpr int64_t kInfoSpanWords = info::kFixedWords + WordsForBytes(kLookupPathBytes);

int64_t SystemMillis() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

int LetterValue(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A' + 1;
  if (c >= 'a' && c <= 'z') return c - 'a' + 27;
  if (c >= '0' && c <= '9') return c - '0';
  return 0;
}

}  // namespace

int64_t DeadSpacePercent(const HeaderWords& h) {
  const int64_t words = std::clamp<int64_t>(h[hdr::kFileSize], 1, kMaxFileWords);
  return std::clamp<int64_t>(h[hdr::kDeadSpace], 0, words) * 100 / words;
}

DssFile::DssFile(std::unique_ptr<FileIO> io, const FileOptions& options)
    : io_(std::move(io)), options_(options) {}

DssFile::~DssFile() {
  (void)Close();
}

int64_t DssFile::Now() const {
  return options_.clock ? options_.clock() : SystemMillis();
}

void DssFile::ChooseSizes(int64_t n, int64_t* table, int64_t* bin) {
  *table = create::kDefaultHashTableSize;
  *bin = create::kDefaultBinSize;
  if (n > 1000000) {
    *table = 64000;
    *bin = 300;
  } else if (n > 500000) {
    *table = 32768;
    *bin = 300;
  } else if (n > 100000) {
    *table = 16348;  // sic: HEC's value
  } else if (n > 10000 && n <= 50000) {
    *bin = 150;
  }
}

Status DssFile::ProbeVersion(FileIO& io, VersionInfo* out) {
  *out = {};
  int64_t size = 0;
  Status s = io.SizeBytes(&size);
  if (s != Status::kOk) return s;
  if (size < 3 * kWordBytes) return Status::kNotDssFile;
  std::array<int64_t, 3> lead{};
  s = io.ReadWords(0, lead);
  if (s != Status::kOk) return s;
  if (LoadBytes(std::span(lead).first(1), 4) != "ZDSS") return Status::kNotDssFile;
  out->text = LoadBytes(std::span(lead).subspan(kVersionByte / 8, 1), 4);
  const char digit = out->text[0];
  out->major = (digit >= '0' && digit <= '9') ? digit - '0' : -1;
  if (out->major == 7 && out->text[1] == '-') {
    out->full = 10000 * 7 + 100 * LetterValue(out->text[2]) + LetterValue(out->text[3]);
  }
  return Status::kOk;
}

VersionInfo DssFile::version() const {
  VersionInfo v;
  v.text = LoadBytes(std::span(header_).subspan(hdr::kVersion, 1), 4);
  v.major = 7;
  v.full = 70000 + 100 * LetterValue(v.text[2]) + LetterValue(v.text[3]);
  return v;
}

Status DssFile::CheckGeometry() const {
  const auto& h = header_;
  const int64_t phys = physical_words_;
  if (LoadBytes(std::span(h).first(1), 4) != "ZDSS") return Status::kNotDssFile;
  if (static_cast<char>(h[hdr::kVersion] & 0xff) != '7') return Status::kIncompatibleVersion;
  if (h[hdr::kEndHeader] != kEndHeaderMarker) return Status::kInvalidHeader;
  if (h[hdr::kHeaderSize] < hdr::kWords) return Status::kInvalidHeader;
  const int64_t bin_size = h[hdr::kBinSize];
  const int64_t per_block = h[hdr::kBinsPerBlock];
  const int64_t table = h[hdr::kHashTableSize];
  if (bin_size < kMinBinSizeRead || bin_size > kMaxBinSizeRead) return Status::kInvalidHeader;
  if (per_block < 1 || per_block > kMaxBinsPerBlockRead) return Status::kInvalidHeader;
  if (table < 2 || table > kMaxHashTableSizeRead) return Status::kInvalidHeader;
  const int64_t table_at = h[hdr::kHashTableAddress];
  if (table_at < hdr::kWords || table_at > phys - table) return Status::kInvalidHeader;
  const int64_t first_bin = h[hdr::kFirstBinAddress];
  if (first_bin < hdr::kWords || first_bin > phys - (per_block * bin_size + 1)) {
    return Status::kInvalidHeader;
  }
  if (h[hdr::kFileSize] < hdr::kWords || h[hdr::kFileSize] > kMaxFileWords) {
    return Status::kInvalidHeader;
  }
  // Lock areas: inside the file, or absent (0) in old pre-release files.
  for (int w : {hdr::kLockWordsAddress, hdr::kWriteLockArrayAddress, hdr::kReadLockArrayAddress}) {
    if (h[w] != 0 && (h[w] < hdr::kWords || h[w] > phys)) return Status::kInvalidHeader;
  }
  return Status::kOk;
}

Status DssFile::LoadHeader() {
  HeaderWords fresh{};
  Status s = io_->ReadWords(0, fresh);
  if (s != Status::kOk) return s == Status::kReadError ? Status::kInvalidHeader : s;
  s = io_->SizeWords(&physical_words_);
  if (s != Status::kOk) return s;
  if (fresh != header_ || stale_) DropCaches();
  header_ = fresh;
  s = CheckGeometry();
  if (s != Status::kOk) return s;
  stale_ = false;
  return Status::kOk;
}

bool DssFile::HeaderUnchanged() const {
  return header_view_ != nullptr &&
         std::memcmp(header_view_, header_.data(), sizeof(HeaderWords)) == 0;
}

Status DssFile::SyncHeader() {
  return HeaderUnchanged() ? Status::kOk : LoadHeader();
}

void DssFile::DropCaches() {
  hash_table_loaded_ = false;
  bins_.clear();
  bin_index_.clear();
  bin_cache_words_ = 0;
}

void DssFile::PatchCaches(int64_t address, std::span<const int64_t> words) {
  const int64_t end = address + static_cast<int64_t>(words.size());
  auto patch = [&](int64_t at, std::span<int64_t> cached) {
    const int64_t from = std::max(at, address);
    const int64_t to = std::min(at + static_cast<int64_t>(cached.size()), end);
    if (from < to)
      std::copy(words.begin() + (from - address), words.begin() + (to - address),
                cached.begin() + (from - at));
  };
  if (hash_table_loaded_) patch(header_[hdr::kHashTableAddress], hash_table_);
  // Bins starting less than a bin before the range may reach into it.
  for (auto it = bins_.upper_bound(address - header_[hdr::kBinSize]);
       it != bins_.end() && it->first < end; ++it)
    patch(it->first, it->second);
}

Status DssFile::Refresh() {
  if (!open_) return Status::kNotOpen;
  return LoadHeader();
}

Status DssFile::OpenIO(std::unique_ptr<FileIO> io, const FileOptions& options,
                       std::unique_ptr<DssFile>* out) {
  return NoThrow([&]() -> Status {
    out->reset();
    if (!io) return Status::kInvalidArgument;
    VersionInfo v;
    Status s = ProbeVersion(*io, &v);
    if (s != Status::kOk) return s;
    if (v.major == 5 || v.major == 6 || v.major == 8) return Status::kIncompatibleVersion;
    if (v.major != 7) return Status::kInvalidHeader;
    std::unique_ptr<DssFile> file(new DssFile(std::move(io), options));
    s = file->LoadHeader();
    if (s != Status::kOk) return s;
    if (kHostIsDiskOrder) file->header_view_ = file->io_->MapPrefix(sizeof(HeaderWords));
    file->read_only_ = options.read_only || file->io_->ReadOnly();
    file->open_ = true;
    (void)file->TakeReadSlot();
    file->RepairIfInterrupted();
    if (options.exclusive) {
      const int64_t arr = file->header_[hdr::kReadLockArrayAddress];
      const int64_t n = std::clamp<int64_t>(file->header_[hdr::kLockArraySize], 0, kMaxLockArray);
      for (int64_t i = 0; arr > 0 && i < n; ++i) {
        bool held = false;
        if (file->io_->TestWords(arr + i, 1, &held) == Status::kOk && held) {
          return Status::kExclusiveLocked;
        }
      }
      s = file->io_->LockWords(file->header_[hdr::kLockWordsAddress], 2);
      if (s != Status::kOk) return s == Status::kLockBusy ? Status::kExclusiveLocked : s;
      file->exclusive_held_ = true;
    }
    *out = std::move(file);
    return Status::kOk;
  });
}

Status DssFile::Open(const std::string& path, const FileOptions& options,
                     std::unique_ptr<DssFile>* out) {
  std::unique_ptr<PosixFileIO> io;
  const auto mode =
      options.read_only ? PosixFileIO::Mode::kReadOnly : PosixFileIO::Mode::kReadWriteOrReadOnly;
  const Status s = PosixFileIO::Open(path, mode, &io);
  if (s != Status::kOk) return s;
  return OpenIO(std::move(io), options, out);
}

Status DssFile::Create(const std::string& path, const CreateOptions& create,
                       const FileOptions& options, std::unique_ptr<DssFile>* out) {
  std::unique_ptr<PosixFileIO> io;
  Status s = PosixFileIO::Open(path, PosixFileIO::Mode::kCreate, &io);
  if (s != Status::kOk) return s;
  if (io->ReadOnly() || options.read_only) return Status::kReadOnly;
  if ((s = LockForCreate(*io, options)) != Status::kOk) return s;
  s = CreateIO(std::move(io), create, options, out);
  if (s == Status::kOk) (void)(*out)->io_->UnlockWords(create::kLockWordsAddress, 1);
  return s;
}

Status DssFile::OpenOrCreate(const std::string& path, const CreateOptions& create,
                             const FileOptions& options, std::unique_ptr<DssFile>* out,
                             bool* created) {
  *created = false;
  std::unique_ptr<PosixFileIO> io;
  Status s = PosixFileIO::Open(path, PosixFileIO::Mode::kReadWriteOrReadOnly, &io);
  if (s == Status::kOpenFailed && !options.read_only) {
    s = PosixFileIO::Open(path, PosixFileIO::Mode::kCreate, &io);
  }
  if (s != Status::kOk) return s;
  return OpenOrCreateIO(std::move(io), create, options, out, created);
}

Status DssFile::LockForCreate(FileIO& io, const FileOptions& options) {
  for (int attempt = 0;; ++attempt) {
    const Status s = io.LockWords(create::kLockWordsAddress, 1);
    if (s != Status::kLockBusy || attempt + 1 >= options.lock_attempts) return s;
    std::this_thread::sleep_for(std::chrono::milliseconds(options.lock_wait_ms));
  }
}

Status DssFile::OpenOrCreateIO(std::unique_ptr<FileIO> io, const CreateOptions& create,
                               const FileOptions& options, std::unique_ptr<DssFile>* out,
                               bool* created) {
  *created = false;
  out->reset();
  if (!io) return Status::kInvalidArgument;
  VersionInfo version;
  Status s = ProbeVersion(*io, &version);
  // A creator writes the header last: "ZDSS" means the file is complete.
  if (s != Status::kNotDssFile) return s == Status::kOk ? OpenIO(std::move(io), options, out) : s;
  int64_t size = 0;
  if ((s = io->SizeBytes(&size)) != Status::kOk) return s;
  if (io->ReadOnly() || options.read_only) {
    return size == 0 ? Status::kReadOnly : Status::kNotDssFile;
  }
  // Empty, or being created by another process right now: decide under the lock.
  if ((s = LockForCreate(*io, options)) != Status::kOk) return s;
  if ((s = io->SizeBytes(&size)) == Status::kOk && size == 0) {
    s = CreateIO(std::move(io), create, options, out);
    if (s != Status::kOk) return s;
    *created = true;
    return (*out)->io_->UnlockWords(create::kLockWordsAddress, 1);
  }
  if (s == Status::kOk) s = ProbeVersion(*io, &version);
  (void)io->UnlockWords(create::kLockWordsAddress, 1);
  if (s != Status::kOk) return s;  // kNotDssFile: a file of someone else's, left as it is
  return OpenIO(std::move(io), options, out);
}

Status DssFile::CreateIO(std::unique_ptr<FileIO> io, const CreateOptions& create,
                         const FileOptions& options, std::unique_ptr<DssFile>* out) {
  return NoThrow([&]() -> Status {
    out->reset();
    if (!io) return Status::kInvalidArgument;
    if (io->ReadOnly() || options.read_only) return Status::kReadOnly;
    int64_t size = 0;
    Status s = io->SizeBytes(&size);
    if (s != Status::kOk) return s;
    if (size != 0) return Status::kExists;
    int64_t table = 0, bin_size = 0;
    ChooseSizes(create.expected_paths, &table, &bin_size);
    if (create.hash_table_size != 0) table = create.hash_table_size;
    if (create.bin_size != 0) bin_size = create.bin_size;
    if (table < 2 || table > create::kMaxHashTableSize || bin_size < kMinBinSizeRead ||
        bin_size > create::kMaxBinSize || create.expected_paths < 0) {
      return Status::kInvalidArgument;
    }
    std::unique_ptr<DssFile> file(new DssFile(std::move(io), options));
    const int64_t now = file->Now();
    HeaderWords& h = file->header_;
    h.fill(0);
    StoreBytes("ZDSS", std::span(h).subspan(hdr::kMagic, 1));
    StoreBytes(std::string_view(create::kVersionString, 4), std::span(h).subspan(hdr::kVersion, 1));
    h[hdr::kHeaderSize] = hdr::kWords;
    h[hdr::kCreateTime] = now;
    h[hdr::kLastWriteTime] = now;
    h[hdr::kHashTableSize] = table;
    h[hdr::kBinsPerBlock] = create::kBinsPerBlock;
    h[hdr::kBinSize] = bin_size;
    h[hdr::kReclaimMin] = create::kReclaimMin;
    h[hdr::kReclaimMaxTables] = create::kReclaimMaxTables;
    h[hdr::kReclaimPairsPerTable] = create::kReclaimPairs;
    h[hdr::kReclaimTableSize] = create::kReclaimTableWords;
    h[hdr::kExpectedPaths] = create.expected_paths;
    h[hdr::kEndHeader] = kEndHeaderMarker;
    // Areas in HEC's order, each taken from the end.
    int64_t next = hdr::kWords;
    auto take = [&next](int64_t words) {
      const int64_t at = next;
      next += words;
      return at;
    };
    h[hdr::kLockWordsAddress] = take(create::kLockWords);  // create::kLockWordsAddress
    h[hdr::kLockArraySize] = create::kLockArraySize;
    h[hdr::kWriteLockArrayAddress] = take(create::kLockArraySize);
    h[hdr::kReadLockArrayAddress] = take(create::kLockArraySize);
    h[hdr::kPidArrayAddress] = take(create::kLockArraySize);
    h[hdr::kHashTableAddress] = take(table);
    h[hdr::kReclaimTableAddress] = take(create::kReclaimTableWords);
    h[hdr::kReclaimCurrentTable] = h[hdr::kReclaimTableAddress];
    h[hdr::kFirstBinAddress] = take(create::kBinsPerBlock * bin_size + 1);
    h[hdr::kNextBinAddress] = h[hdr::kFirstBinAddress];
    h[hdr::kBinsLeftInBlock] = create::kBinsPerBlock;
    h[hdr::kFileSize] = next;
    // Body first, header last: a file cut short is not taken for a DSS file.
    std::vector<int64_t> body(static_cast<size_t>(next + 1 - hdr::kWords), 0);
    body.back() = kEndFileMarker;
    s = file->io_->WriteWords(hdr::kWords, body);
    if (s == Status::kOk) s = file->io_->WriteWords(0, h);
    if (s == Status::kOk) s = file->io_->Sync();
    if (s != Status::kOk) return s;
    file->physical_words_ = next + 1;
    if (kHostIsDiskOrder) file->header_view_ = file->io_->MapPrefix(sizeof(HeaderWords));
    file->open_ = true;
    (void)file->TakeReadSlot();
    *out = std::move(file);
    return Status::kOk;
  });
}

Status DssFile::Close() {
  if (!open_) return Status::kOk;
  const Status batch = in_batch_ ? EndBatch() : Status::kOk;
  open_ = false;
  const Status flushed = unsynced_ ? io_->Sync() : Status::kOk;
  unsynced_ = false;
  const int64_t arr_r = header_[hdr::kReadLockArrayAddress];
  const int64_t arr_w = header_[hdr::kWriteLockArrayAddress];
  if (read_slot_ >= 0) (void)io_->UnlockWords(arr_r + read_slot_, 1);
  if (write_slot_ >= 0) (void)io_->UnlockWords(arr_w + write_slot_, 1);
  if (exclusive_held_) (void)io_->UnlockWords(header_[hdr::kLockWordsAddress], 2);
  read_slot_ = write_slot_ = -1;
  exclusive_held_ = false;
  header_view_ = nullptr;
  io_.reset();
  return batch != Status::kOk ? batch : flushed;
}

Status DssFile::TakeReadSlot() {
  const int64_t arr = header_[hdr::kReadLockArrayAddress];
  const int64_t n = std::clamp<int64_t>(header_[hdr::kLockArraySize], 0, kMaxLockArray);
  for (int64_t i = 0; arr > 0 && i < n; ++i) {
    const Status s = io_->LockWords(arr + i, 1);
    if (s == Status::kOk) {
      read_slot_ = static_cast<int>(i);
      return s;
    }
    if (s != Status::kLockBusy) return s;  // e.g. a read-only descriptor: HEC goes on too
  }
  return Status::kLockBusy;
}

Status DssFile::BeginBatch() {
  if (!open_) return Status::kNotOpen;
  if (in_batch_) return Status::kInvalidArgument;
  const Status s = BeginWrite();
  if (s != Status::kOk) return s;
  in_batch_ = true;
  batch_status_ = Status::kOk;
  puts_ = 0;
  return Status::kOk;
}

Status DssFile::EndBatch() {
  if (!in_batch_) return Status::kInvalidArgument;
  in_batch_ = false;
  return EndWrite(batch_status_);
}

Status DssFile::BeginWrite() {
  if (!open_) return Status::kNotOpen;
  if (in_batch_) {
    puts_ = 0;
    return batch_status_;
  }
  if (read_only_) return Status::kReadOnly;
  const int64_t lock_word = header_[hdr::kLockWordsAddress];
  if (write_slot_ < 0) {
    const int64_t arr = header_[hdr::kWriteLockArrayAddress];
    const int64_t n = std::clamp<int64_t>(header_[hdr::kLockArraySize], 0, kMaxLockArray);
    for (int64_t i = 0; arr > 0 && i < n; ++i) {
      const Status s = io_->LockWords(arr + i, 1);
      if (s == Status::kOk) write_slot_ = static_cast<int>(i);
      if (s != Status::kLockBusy) break;
    }
  }
  if (!exclusive_held_) {
    bool held = false;
    Status s = io_->TestWords(lock_word + 1, 1, &held);
    if (s != Status::kOk) return s;
    if (held) return Status::kExclusiveLocked;
    for (int attempt = 0;; ++attempt) {
      s = io_->LockWords(lock_word, 1);
      if (s == Status::kOk) break;
      if (s != Status::kLockBusy) return s;
      if (attempt + 1 >= options_.lock_attempts) return Status::kLockBusy;
      std::this_thread::sleep_for(std::chrono::milliseconds(options_.lock_wait_ms));
    }
  }
  in_write_ = true;
  marked_ = false;
  // Another process may have written since we last looked.
  Status s = stale_ ? LoadHeader() : SyncHeader();
  // Space is appended at fileSize: never past a file cut short.
  if (s == Status::kOk && header_[hdr::kFileSize] > physical_words_) s = Status::kDamaged;
  if (s == Status::kOk && header_[hdr::kWriteInProgress] != 0)
    s = NoThrow([&] { return Repair(); });
  if (s != Status::kOk) return EndWrite(s);
  return Status::kOk;
}

Status DssFile::EndWrite(Status status) {
  if (!in_write_) return status;
  if (in_batch_) {
    // An operation refused before it wrote anything leaves the batch going.
    if (status != Status::kOk && puts_ > 0) {
      batch_status_ = status;
      stale_ = true;
    }
    return status;
  }
  if (marked_ && status == Status::kOk) {
    // The operation is complete: clear the mark with the final header.
    header_[hdr::kWriteInProgress] = 0;
    status = WriteHeader();
  }
  if (status == Status::kOk && options_.sync_each_write) {
    status = io_->Sync();
  } else if (status == Status::kOk) {
    unsynced_ = true;
  }
  // A failed operation leaves the mark set: the next write repairs the file.
  if (status != Status::kOk) stale_ = true;
  marked_ = false;
  if (!exclusive_held_) (void)io_->UnlockWords(header_[hdr::kLockWordsAddress], 1);
  in_write_ = false;
  return status;
}

Status DssFile::WriteHeader() {
  return Put(0, header_);
}

Status DssFile::Put(int64_t address, std::span<const int64_t> words) {
  if (!marked_) {
    header_[hdr::kWriteInProgress] = 1;
    const Status s = io_->WriteWords(hdr::kWriteInProgress,
                                     std::span(header_).subspan(hdr::kWriteInProgress, 1));
    if (s != Status::kOk) return s;
    marked_ = true;
  }
  ++puts_;
  const Status s = io_->WriteWords(address, words);
  if (s == Status::kOk) PatchCaches(address, words);
  return s;
}

Status DssFile::Barrier() {
  return options_.sync_each_write ? io_->Sync() : Status::kOk;
}

Status DssFile::PutWord(int64_t address, int64_t value) {
  const std::array<int64_t, 1> w{value};
  return Put(address, w);
}

void DssFile::RepairIfInterrupted() {
  if (read_only_ || header_[hdr::kWriteInProgress] == 0) return;
  // A writer holding the lock is still at work; it clears the mark itself.
  bool held = false;
  const int64_t lock_word = header_[hdr::kLockWordsAddress];
  if (io_->TestWords(lock_word, 1, &held) != Status::kOk || held) return;
  if (BeginWrite() == Status::kOk) (void)EndWrite(Status::kOk);
}

Status DssFile::EnsureHashTable() {
  if (hash_table_loaded_) return Status::kOk;
  const int64_t n = header_[hdr::kHashTableSize];
  hash_table_.assign(static_cast<size_t>(n), 0);
  const Status s = io_->ReadWords(header_[hdr::kHashTableAddress], hash_table_);
  if (s != Status::kOk) return s;
  hash_table_loaded_ = true;
  return Status::kOk;
}

Status DssFile::ReadHashTable(std::vector<int64_t>* out) {
  if (!open_) return Status::kNotOpen;
  return NoThrow([&] {
    const Status s = EnsureHashTable();
    if (s == Status::kOk) *out = hash_table_;
    return s;
  });
}

Status DssFile::ReadBin(int64_t address, std::span<int64_t> out) {
  const auto n = static_cast<int64_t>(out.size());
  if (address < hdr::kWords || address > physical_words_ - n) return Status::kDamaged;
  return io_->ReadWords(address, out);
}

Status DssFile::ReadSpan(int64_t address, int64_t body) {
  const int64_t n = std::min(kInfoSpanWords + body, physical_words_ - address);
  record_buf_at_ = 0;
  record_buf_.resize(static_cast<size_t>(std::max<int64_t>(n, 0)));
  const Status s = io_->ReadWords(address, record_buf_);
  if (s == Status::kOk) record_buf_at_ = address;
  return s;
}

Status DssFile::InfoFromSpan(int64_t address, InfoBlock* out) const {
  const int64_t at = address - record_buf_at_;
  const int64_t n =
      std::min<int64_t>(static_cast<int64_t>(record_buf_.size()) - at, kInfoSpanWords);
  if (record_buf_at_ == 0 || at < 0 || n < info::kFixedWords) return Status::kDamaged;
  out->address = address;
  const Status s = DecodeInfoBlock(
      std::span(record_buf_).subspan(static_cast<size_t>(at), static_cast<size_t>(n)), out);
  if (s != Status::kOk) return s;
  if (out->Words() > n) return Status::kDamaged;
  return Status::kOk;
}

Status DssFile::BinView(int64_t address, std::span<const int64_t>* out) {
  const auto bin_size = static_cast<size_t>(header_[hdr::kBinSize]);
  // While another writer is at work the bins may change under us: read them afresh.
  const bool cacheable = in_write_ || header_[hdr::kWriteInProgress] == 0;
  if (cacheable) {
    const auto it = bin_index_.find(address);
    if (it != bin_index_.end() && it->second->size() == bin_size) {
      *out = *it->second;
      return Status::kOk;
    }
  }
  scratch_.resize(bin_size);
  const Status s = ReadBin(address, scratch_);
  if (s != Status::kOk || !cacheable) {
    *out = scratch_;
    return s;
  }
  if (bin_cache_words_ > kMaxCachedBinWords) DropCaches();
  auto& cached = bins_[address];
  cached = scratch_;
  bin_index_[address] = &cached;
  bin_cache_words_ += static_cast<int64_t>(bin_size);
  *out = cached;
  return Status::kOk;
}

Status DssFile::ReadInfoAt(int64_t address, InfoBlock* out) {
  if (!open_) return Status::kNotOpen;
  if (address < hdr::kWords || address > physical_words_ - info::kFixedWords) {
    return Status::kDamaged;
  }
  const Status s = ReadSpan(address, 0);
  return s == Status::kOk ? InfoFromSpan(address, out) : s;
}

Status DssFile::ResolveInfo(int64_t address, int64_t hash, InfoBlock* out) {
  bool via_alias = false;
  for (int hop = 0; hop < kMaxAliasHops; ++hop) {
    if (address < hdr::kWords || address > physical_words_ - bin::kFixedWords) {
      return Status::kDamaged;
    }
    // The info block and, for a record read, the areas that usually follow it: one read.
    Status s = ReadSpan(address, want_body_ ? body_guess_ : 0);
    if (s != Status::kOk) return s;
    const std::span<const int64_t> head(record_buf_);
    if (head[info::kFlag] == kInfoFlag) {
      s = InfoFromSpan(address, out);
      if (s != Status::kOk) return s;
      if (!via_alias && out->bin_hash != hash) return Status::kPathMismatch;
      return Status::kOk;
    }
    if (head[bin::kStatus] != entry_status::kAlias) return Status::kDamaged;
    via_alias = true;
    address = head[bin::kInfoAddress];
  }
  return Status::kDamaged;
}

Status DssFile::FindEntry(std::string_view path, Want want, Probe* probe) {
  const bool full_walk = probe->full_walk;
  const bool locate_only = probe->locate_only;
  *probe = {};
  probe->full_walk = full_walk;
  probe->locate_only = locate_only;
  if (path.size() > static_cast<size_t>(kLookupPathBytes)) path = path.substr(0, kLookupPathBytes);
  Status s = EnsureHashTable();
  if (s != Status::kOk) return s;
  const int64_t bin_size = header_[hdr::kBinSize];
  probe->bin_hash = BinHash(path);
  probe->table_hash = TableHash(path, header_[hdr::kHashTableSize]);
  probe->chain_head = hash_table_[static_cast<size_t>(probe->table_hash)];
  const int64_t max_bins = physical_words_ / bin_size + 1;
  int64_t address = probe->chain_head;
  for (int64_t visited = 0; address != 0; ++visited) {
    if (visited > max_bins) return Status::kDamaged;  // a cycle
    std::span<const int64_t> bin;
    s = BinView(address, &bin);
    if (s != Status::kOk) return s;
    probe->last_bin = address;
    BinEntry e;
    for (int64_t j = 0; DecodeBinEntry(bin, j, &e) == EntryScan::kEntry; j += e.Words()) {
      if (e.hash != probe->bin_hash || e.path_bytes != static_cast<int32_t>(path.size())) {
        ++probe->entries_passed;
        continue;
      }
      if (!BinEntryPathIs(bin, j, e, path)) {
        probe->collision = true;
        ++probe->entries_passed;
        continue;
      }
      if ((e.status == entry_status::kMoved || e.status == entry_status::kDeleted) &&
          probe->dead_slot_bin == 0) {
        probe->dead_slot_bin = address;
        probe->dead_slot_offset = j;
      }
      const bool wanted = (want == Want::kLive && entry_status::IsLive(e.status)) ||
                          (want == Want::kDeleted && e.status == entry_status::kDeleted) ||
                          (want == Want::kRenamed && e.status == entry_status::kRenamed);
      if (wanted && !probe->found) {
        InfoBlock info;
        Status r = Status::kOk;
        if (want != Want::kRenamed && !probe->locate_only) {
          r = ResolveInfo(e.info_address, e.status == entry_status::kAlias ? 0 : probe->bin_hash,
                          &info);
        }
        if (r == Status::kOk) {
          probe->found = true;
          probe->entry_bin = address;
          probe->entry_offset = j;
          probe->entry = e;
          probe->info = std::move(info);
          if (!probe->full_walk) return Status::kOk;
          continue;
        }
        // A read that failed proves nothing: the caller must not take the path as absent.
        if (r != Status::kDamaged && r != Status::kPathMismatch) return r;
        // Space reused or damaged: HEC treats it as absent and so do we; a later entry of the
        // chain may still be the live one.
      }
      if (!probe->found) ++probe->entries_passed;
    }
    address = bin[static_cast<size_t>(bin_size - 1)];
  }
  return probe->found ? Status::kOk : Status::kNotFound;
}

Status DssFile::Lookup(std::string_view path, InfoBlock* info) {
  if (!open_) return Status::kNotOpen;
  return ReadRetrying([&]() -> Status {
    Probe probe;
    const Status s = FindEntry(path, Want::kLive, &probe);
    if (s == Status::kOk) *info = std::move(probe.info);
    return s;
  });
}

bool DssFile::Exists(std::string_view path) {
  InfoBlock info;
  return Lookup(path, &info) == Status::kOk;
}

Status DssFile::ReadAreas(const InfoBlock& info, Record* out) {
  Status s = CheckInfoBlock(info, physical_words_);
  if (s != Status::kOk) return s;
  const int64_t span_end = record_buf_at_ + static_cast<int64_t>(record_buf_.size());
  int64_t areas_end = info.address;
  for (int a = 0; a < kAreaCount; ++a) {
    auto& v = out->areas[a];
    const int64_t at = info.area_address[a];
    const int64_t words = WordsForInt32s(info.area_length[a]);
    v.resize(static_cast<size_t>(info.area_length[a]));
    if (words == 0) continue;
    areas_end = std::max(areas_end, at + words);
    if (record_buf_at_ != 0 && at >= record_buf_at_ && at + words <= span_end) {
      UnpackInt32s(
          std::span(record_buf_)
              .subspan(static_cast<size_t>(at - record_buf_at_), static_cast<size_t>(words)),
          v);
      continue;
    }
    s = io_->ReadInt32s(at, v);
    if (s != Status::kOk) return s;
  }
  // The next record read takes as much in its first read (records of a series are alike).
  const int64_t body = areas_end - info.address - kInfoSpanWords;
  body_guess_ = body > 0 && body <= kMaxBodyGuess ? body : 0;
  out->info = info;
  return Status::kOk;
}

Status DssFile::ReadRecord(std::string_view path, Record* out) {
  if (!open_) return Status::kNotOpen;
  return ReadRetrying([&]() -> Status {
    Probe probe;
    want_body_ = true;
    const Status s = FindEntry(path, Want::kLive, &probe);
    want_body_ = false;
    if (s != Status::kOk) return s;
    return ReadAreas(probe.info, out);
  });
}

Status DssFile::ReadRecords(std::span<const std::string> paths, std::span<Record> out,
                            std::span<Status> statuses) {
  if (!open_) return Status::kNotOpen;
  if (out.size() < paths.size() || statuses.size() < paths.size()) return Status::kInvalidArgument;
  return NoThrow([&]() -> Status {
    std::fill(statuses.begin(), statuses.end(), Status::kNotFound);
    struct Located {
      int64_t address;
      int64_t bin_hash;
      size_t index;
    };
    std::vector<Located> located;
    // Located from the cached bins while the file is unchanged and no other writer is at work;
    // anything else (and every record not read here) takes the one-by-one path below.
    Status s = stale_ ? LoadHeader() : SyncHeader();
    if (s == Status::kOk && (in_write_ || header_[hdr::kWriteInProgress] == 0)) {
      for (size_t i = 0; i < paths.size(); ++i) {
        Probe probe;
        probe.locate_only = true;
        if (FindEntry(paths[i], Want::kLive, &probe) == Status::kOk &&
            probe.entry.status != entry_status::kAlias) {
          located.push_back({probe.entry.info_address, probe.bin_hash, i});
        }
      }
    }
    std::sort(located.begin(), located.end(),
              [](const Located& a, const Located& b) { return a.address < b.address; });
    for (size_t g = 0; g < located.size();) {
      // A group: records each starting within a read-ahead of the one before.
      size_t end = g + 1;
      while (end < located.size() &&
             located[end].address - located[end - 1].address <= kMaxBodyGuess &&
             located[end].address - located[g].address <= kMaxGroupWords)
        ++end;
      const int64_t first = located[g].address;
      if (first >= hdr::kWords && first < physical_words_ &&
          ReadSpan(first, located[end - 1].address - first + body_guess_) == Status::kOk) {
        for (size_t k = g; k < end; ++k) {
          const Located& at = located[k];
          InfoBlock info;
          const int64_t offset = at.address - first;
          if (offset + info::kFixedWords > static_cast<int64_t>(record_buf_.size()) ||
              record_buf_[static_cast<size_t>(offset + info::kFlag)] != kInfoFlag ||
              InfoFromSpan(at.address, &info) != Status::kOk || info.bin_hash != at.bin_hash) {
            statuses[at.index] = Status::kDamaged;  // read again below, one by one
            continue;
          }
          statuses[at.index] = ReadAreas(info, &out[at.index]);
        }
      }
      g = end;
    }
    for (size_t i = 0; i < paths.size(); ++i) {
      if (statuses[i] != Status::kOk) statuses[i] = ReadRecord(paths[i], &out[i]);
    }
    return Status::kOk;
  });
}

}  // namespace varnock::engine::dss7
