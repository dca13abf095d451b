// Creating DSS-6 files, copying records between them, and squeezing a file into a fresh one.
#include <algorithm>
#include <filesystem>
#include <vector>

#include "engine/dss6/dss6_file.h"
#include "engine/dss6/dss6_file_internal.h"
#include "engine/dss7/posix_file_io.h"

namespace varnock::engine::dss6 {

using namespace internal;

Status Dss6File::Create(const std::string& path, int size_code, const Options6& options,
                        std::unique_ptr<Dss6File>* out) {
  std::unique_ptr<dss7::PosixFileIO> io;
  const Status s = dss7::PosixFileIO::Open(path, dss7::PosixFileIO::Mode::kCreate, &io);
  if (s != Status::kOk) return s;
  return CreateIO(std::move(io), size_code, options, out);
}

Status Dss6File::CreateIO(std::unique_ptr<dss7::FileIO> io, int size_code, const Options6& options,
                          std::unique_ptr<Dss6File>* out) {
  return NoThrow([&]() -> Status {
    out->reset();
    if (!io) return Status::kInvalidArgument;
    if (size_code < 1 || size_code > 9) return Status::kInvalidArgument;
    if (options.read_only || io->ReadOnly()) return Status::kReadOnly;
    int64_t bytes = 0;
    Status s = io->SizeBytes(&bytes);
    if (s != Status::kOk) return s;
    if (bytes != 0) return Status::kExists;
    std::unique_ptr<Dss6File> file(new Dss6File(std::move(io), options));
    const SizeCode size = kSizeCodes[size_code - 1];
    HeaderWords& h = file->header_;
    h.fill(0);
    const std::span<int32_t> words(h);
    StoreChars("ZDSS", words.subspan(hdr::kMagic, 1));
    StoreChars(kVersionString, words.subspan(hdr::kVersion, 1));
    h[hdr::kSizeCode] = size_code;
    h[hdr::kHashCodes] = size.hash_codes;
    h[hdr::kTableFlag] = kTableFlagHash;
    h[hdr::kBinsPerBlock] = size.bins_per_block;
    h[hdr::kBinsLeft] = size.bins_per_block;
    h[hdr::kBinSize] = kBinWords;
    // The lock record is the first physical record at or after the end of the hash table; the
    // first bin block starts at the record after it.
    const int64_t lock_byte = file->LockRecordByte();
    const int64_t first_bin = (lock_byte / kRecordBytes + 1) * kWordsPerRecord + 1;
    h[hdr::kFirstBin] = static_cast<int32_t>(first_bin);
    h[hdr::kNextBin] = static_cast<int32_t>(first_bin);
    h[hdr::kFileSize] = static_cast<int32_t>(first_bin + int64_t{size.bins_per_block} * kBinWords);
    h[hdr::kIrregularGrowth] = kIrregularGrowthPairs;
    for (int k = 0; k < 5; ++k)
      h[hdr::kIrregularMinimum + k] = kIrregularMinimumPairs;
    std::string date, time;
    DateTimeText(options.clock ? options.clock() : SystemLocalTime(), &date, &time);
    StoreChars(date, words.subspan(hdr::kCreateDate, 2), '\0');
    StoreChars(date, words.subspan(hdr::kLastWriteDate, 2), '\0');
    StoreChars(time, words.subspan(hdr::kLastWriteTime, 2));
    // Body first (hash table, lock record, first bin block, end marker), header last: a file
    // cut short is not taken for a DSS file.
    const int64_t body_start = hdr::kWords + 1;
    std::vector<int32_t> body(static_cast<size_t>(h[hdr::kFileSize] + 1 - body_start), 0);
    body.back() = kEndFileMarker;
    s = file->WriteWords(body_start, body);
    if (s == Status::kOk) s = file->WriteHeader();
    if (s == Status::kOk) s = file->io_->Sync();
    if (s != Status::kOk) return s;
    file->read_only_ = false;
    file->TakeReadSlot();
    *out = std::move(file);
    return Status::kOk;
  });
}

Status Dss6File::CopyRecord(std::string_view path, Dss6File& target, std::string_view target_path) {
  return NoThrow([&]() -> Status {
    Found f;
    Status s = Find(path, &f);
    if (s != Status::kOk) return s;
    container::RecordAreas r;
    s = ReadRecord(f.info.path, &r);
    if (s != Status::kOk) return s;
    RecordData6 d;
    d.type = f.info.type;
    d.internal_header = r.areas[dss7::kInternalHeader];
    d.compression_header = r.areas[dss7::kHeader2];
    d.user_header = r.areas[dss7::kUserHeader];
    d.data = r.areas[dss7::kValues1];
    d.logical_count = f.info.logical_count;
    d.compression = f.info.compression;
    d.quality_flag = f.info.quality_flag;
    d.precision = f.info.precision;
    d.pseudo_interval = f.entry.pseudo_interval;
    const std::string to = NormalisePath(target_path);
    if (!ValidPath(to)) return Status::kInvalidArgument;
    s = target.BeginWrite();
    if (s != Status::kOk) return s;
    return target.EndWrite(target.Insert(to, d, InsertMode::kCopy, &f));
  });
}

Status Dss6File::OthersHaveItOpen(bool* others) {
  *others = false;
  const int64_t base = LockRecordByte() + kReadSlotByte;
  for (int i = 0; i < kReadSlots && !*others; ++i) {
    if (i == read_slot_) continue;
    const Status s = io_->TestLock(base + kLockBytes * i, kLockBytes, others);
    if (s != Status::kOk) return s;
  }
  return Status::kOk;
}

Status Dss6File::SqueezeInto(std::unique_ptr<dss7::FileIO> target, const Options6& options,
                             std::unique_ptr<Dss6File>* out) {
  return NoThrow([&]() -> Status {
    bool others = false;
    Status s = OthersHaveItOpen(&others);
    if (s != Status::kOk) return s;
    if (others) return Status::kExclusiveLocked;
    std::vector<container::CatalogItem> items;
    s = Catalog(&items);
    if (s != Status::kOk) return s;
    std::sort(items.begin(), items.end(),
              [](const auto& a, const auto& b) { return a.info_address < b.info_address; });
    // HEC sizes the new file for 1.2 times the records, keeping its default up to 1000.
    static constexpr int64_t kThresholds[] = {1, 2, 20, 100, 200, 4000, 10000, 30000, 60000};
    const int64_t expected = header_[hdr::kRecordCount] * 12 / 10;
    int size_code = 6;
    if (expected > 1000) {
      for (int c = 0; c < 9; ++c)
        if (expected >= kThresholds[c]) size_code = c + 1;
    }
    s = CreateIO(std::move(target), size_code, options, out);
    if (s != Status::kOk) return s;
    Dss6File& fresh = **out;
    for (int k = 0; k < 5; ++k) {
      fresh.header_[hdr::kIrregularMinimum + k] = header_[hdr::kIrregularMinimum + k];
    }
    fresh.header_[hdr::kIrregularGrowth] = header_[hdr::kIrregularGrowth];
    fresh.header_[hdr::kTagSequence] = header_[hdr::kTagSequence];
    s = fresh.WriteHeader();
    for (size_t i = 0; s == Status::kOk && i < items.size(); ++i)
      s = CopyRecord(items[i].path, fresh, items[i].path);
    if (s == Status::kOk) s = fresh.io_->Sync();
    return s;
  });
}

Status SqueezeFile(const std::string& path, const Options6& options) {
  return NoThrow([&]() -> Status {
    std::unique_ptr<Dss6File> source;
    Status s = Dss6File::Open(path, options, &source);
    if (s != Status::kOk) return s;
    const std::string temporary = path + ".squeeze";
    std::error_code ignored;
    std::filesystem::remove(temporary, ignored);
    std::unique_ptr<dss7::PosixFileIO> io;
    s = dss7::PosixFileIO::Open(temporary, dss7::PosixFileIO::Mode::kCreate, &io);
    if (s != Status::kOk) return s;
    std::unique_ptr<Dss6File> fresh;
    s = source->SqueezeInto(std::move(io), options, &fresh);  // creates the new file
    if (s == Status::kOk) s = fresh->Close();
    fresh.reset();
    source.reset();
    std::error_code error;
    if (s == Status::kOk) std::filesystem::rename(temporary, path, error);
    if (s != Status::kOk || error) {
      std::filesystem::remove(temporary, ignored);
      return s != Status::kOk ? s : Status::kWriteError;
    }
    return Status::kOk;
  });
}

}  // namespace varnock::engine::dss6
