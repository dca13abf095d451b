#include "engine/dss6/dss6_file.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <new>
#include <stdexcept>

#include "engine/dss6/dss6_file_internal.h"
#include "engine/dss6/intervals.h"
#include "engine/dss7/hash.h"
#include "engine/dss7/posix_file_io.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine::dss6 {
using internal::NoThrow;

namespace {

container::RecordInfo ToRecordInfo(const Found& f) {
  container::RecordInfo r;
  r.path = f.info.path;
  r.address = f.info.address;
  r.type = f.info.type;
  r.version = f.info.version;
  r.logical_count = f.info.logical_count;
  r.compression = f.info.compression;
  r.quality = f.info.quality_flag != 0;
  r.precision = f.info.precision;
  r.pseudo_interval = f.entry.pseudo_interval;
  r.area_length[dss7::kInternalHeader] = f.info.internal_header_words;
  r.area_length[dss7::kHeader2] = f.info.compression_header_words;
  r.area_length[dss7::kUserHeader] = f.info.user_header_words;
  r.area_length[dss7::kValues1] = f.info.data_words;
  r.program = std::string(TrimTrailingBlanks(f.info.program.substr(0, f.info.program.find('\0'))));
  r.last_write_ms = StampMillis(f.info.date, f.info.time);
  return r;
}

// HEC's catalog sort: parts A, B, C, F, then interval and block date for time series (other
// records D, E), each compared in a column as wide as the longest part of its kind.
std::string SortKey(const container::CatalogItem& c, const std::array<int32_t, 6>& longest) {
  std::array<std::string_view, 6> parts;
  if (!dss7::SplitParts(c.listed_path, &parts)) return c.listed_path;
  std::string key;
  const auto column = [&key](std::string_view text, size_t width) {
    std::string f(text.substr(0, width));
    f.resize(width, ' ');
    key += f;
  };
  for (int p : {0, 1, 2, 5})
    column(parts[p], static_cast<size_t>(longest[p]) + 1);
  const bool series = c.type >= 100 && c.type < 200;
  std::string_view e = parts[4];
  if (!e.empty() && e.front() == '~') e.remove_prefix(1);
  const Interval6* iv = series ? FindRegular(e) : nullptr;
  int32_t julian = 0;
  if (series && ParseBlockDate(parts[3], &julian)) {
    char text[48];
    std::snprintf(text, sizeof text, "%010d%012d", iv ? iv->minutes : 0, julian + 100000000);
    key += text;
  } else {
    column(parts[3], static_cast<size_t>(longest[3]) + 1);
    column(parts[4], static_cast<size_t>(longest[4]) + 1);
  }
  return key;
}

}  // namespace

std::string StoredPath(std::string_view listed) {
  std::string path = NormalisePath(listed);
  std::array<std::string_view, 6> parts;
  if (!dss7::SplitParts(path, &parts) || parts[4].empty() || parts[4].front() != '~') return path;
  const Interval6* iv = FindRegular(parts[4].substr(1));
  if (iv == nullptr) return path;
  std::string out = "/";
  for (int p = 0; p < 6; ++p) {
    out += p == 4 ? IrregularBlockName(PseudoRegularBlock(iv->minutes)) : parts[p];
    out += '/';
  }
  return out;
}

std::string ListedPath(const BinEntry& entry) {
  if (entry.pseudo_interval == 0) return entry.path;
  const Interval6* iv = RegularByMinutes(entry.pseudo_interval);
  std::array<std::string_view, 6> parts;
  if (iv == nullptr || !dss7::SplitParts(entry.path, &parts)) return entry.path;
  std::string out = "/";
  for (int p = 0; p < 6; ++p) {
    out += p == 4 ? "~" + std::string(iv->name) : std::string(parts[p]);
    out += '/';
  }
  return out;
}

Status Dss6File::Open(const std::string& path, std::unique_ptr<Dss6File>* out) {
  Options6 read_only;
  read_only.read_only = true;
  return Open(path, read_only, out);
}

Status Dss6File::Open(const std::string& path, const Options6& options,
                      std::unique_ptr<Dss6File>* out) {
  std::unique_ptr<dss7::PosixFileIO> io;
  const auto mode = options.read_only ? dss7::PosixFileIO::Mode::kReadOnly
                                      : dss7::PosixFileIO::Mode::kReadWriteOrReadOnly;
  const Status s = dss7::PosixFileIO::Open(path, mode, &io);
  if (s != Status::kOk) return s;
  return OpenIO(std::move(io), options, out);
}

Status Dss6File::OpenIO(std::unique_ptr<dss7::FileIO> io, const Options6& options,
                        std::unique_ptr<Dss6File>* out) {
  return NoThrow([&]() -> Status {
    out->reset();
    if (!io) return Status::kInvalidArgument;
    std::unique_ptr<Dss6File> file(new Dss6File(std::move(io), options));
    const Status s = file->LoadHeader();
    if (s != Status::kOk) return s;
    file->read_only_ = options.read_only || file->io_->ReadOnly() || file->crashed_writer_;
    file->TakeReadSlot();
    const Status claimed = file->ClaimExclusivity();
    if (claimed != Status::kOk) return claimed;
    *out = std::move(file);
    return Status::kOk;
  });
}

Status Dss6File::LoadHeader() {
  int64_t bytes = 0;
  Status s = io_->SizeBytes(&bytes);
  if (s != Status::kOk) return s;
  file_words_ = WordsInBytes(bytes);
  if (file_words_ < hdr::kWords) return Status::kNotDssFile;
  std::array<int32_t, hdr::kWords> h{};
  s = ReadWords(kFirstAddress, h);
  if (s != Status::kOk) return s;
  s = CheckHeader(h, file_words_, &crashed_writer_);
  if (s != Status::kOk) return s;
  header_ = h;
  return Status::kOk;
}

int64_t StampMillis(std::string_view date, std::string_view time) {
  static constexpr std::string_view kMonths = "JANFEBMARAPRMAYJUNJULAUGSEPOCTNOVDEC";
  const auto digits = [](std::string_view text, size_t at, int* out) {
    if (at + 2 > text.size() || !IsDigit(text[at]) || !IsDigit(text[at + 1])) return false;
    *out = (text[at] - '0') * 10 + (text[at + 1] - '0');
    return true;
  };
  int day = 0, year = 0, hour = 0, minute = 0, second = 0;
  if (date.size() < 7 || !digits(date, 0, &day) || !digits(date, 5, &year)) return 0;
  std::string month(date.substr(2, 3));
  for (char& c : month)
    c = AsciiUpper(c);
  const size_t m = kMonths.find(month);
  if (m == std::string_view::npos || m % 3 != 0) return 0;
  (void)(digits(time, 0, &hour) && digits(time, 3, &minute) && digits(time, 6, &second));
  std::tm parts{};
  parts.tm_year = (year < 70 ? 2000 + year : 1900 + year) - 1900;
  parts.tm_mon = static_cast<int>(m / 3);
  parts.tm_mday = day;
  parts.tm_hour = hour;
  parts.tm_min = minute;
  parts.tm_sec = second;
  parts.tm_isdst = -1;
  const std::time_t t = std::mktime(&parts);
  return t == static_cast<std::time_t>(-1) ? 0 : static_cast<int64_t>(t) * 1000;
}

std::string Dss6File::VersionText() const {
  return dss6::VersionText(header_);
}

container::FileFacts Dss6File::Facts() const {
  container::FileFacts facts;
  facts.records = header_[hdr::kRecordCount];
  facts.size_bytes = container::SaturatedBytes(file_words_, kWordBytes);
  facts.dead_bytes = container::SaturatedBytes(header_[hdr::kDeadSpace], kWordBytes);
  const std::span<const int32_t> words(header_);
  facts.created = LoadChars(words.subspan(hdr::kCreateDate, 2), 8);
  facts.last_written = LoadChars(words.subspan(hdr::kLastWriteDate, 2), 8) + " " +
                       LoadChars(words.subspan(hdr::kLastWriteTime, 2), 8);
  for (std::string* text : {&facts.created, &facts.last_written}) {
    while (!text->empty() && (text->back() == ' ' || text->back() == '\0'))
      text->pop_back();
    text->erase(std::remove(text->begin(), text->end(), '\0'), text->end());
  }
  return facts;
}

Status Dss6File::ReadWords(int64_t address, std::span<int32_t> out) {
  const auto n = static_cast<int64_t>(out.size());
  if (n == 0) return Status::kOk;
  if (address < kFirstAddress || address - 1 > file_words_ - n) return Status::kDamaged;
  scratch_.resize(static_cast<size_t>(SpanBytes(address, n)));
  const Status s = io_->ReadBytes(ByteOffset(address), scratch_);
  if (s != Status::kOk) return s;
  GatherWords(scratch_, address, out);
  return Status::kOk;
}

Status Dss6File::ReadBin(int64_t address, std::span<int32_t> out) {
  if (address <= hdr::kWords) return Status::kDamaged;
  return ReadWords(address, out);
}

Status Dss6File::ReadInfoAt(int64_t address, InfoBlock* out) {
  std::array<int32_t, info::kFixedWords + PathWords(kMaxPathBytes)> words{};
  if (address <= hdr::kWords || address - 1 > file_words_ - info::kPath) return Status::kDamaged;
  const int64_t n =
      std::min<int64_t>(static_cast<int64_t>(words.size()), file_words_ - address + 1);
  const auto span = std::span(words).first(static_cast<size_t>(n));
  const Status s = ReadWords(address, span);
  if (s != Status::kOk) return s;
  out->address = address;
  return DecodeInfoBlock(span, out);
}

Status Dss6File::Find(std::string_view path, Found* out) {
  return NoThrow([&]() -> Status {
    const std::string wanted = StoredPath(path);
    if (wanted.size() < 1 || wanted.size() > static_cast<size_t>(kMaxPathBytes)) {
      return Status::kNotFound;
    }
    const int32_t h = PathHash(wanted, header_[hdr::kHashCodes]);
    int64_t bin_address = 0;
    if (header_[hdr::kTableFlag] == kTableFlagStable) {
      bin_address = header_[hdr::kFirstBin] + int64_t{h - 1} * kBinWords;
    } else {
      std::array<int32_t, 1> head{};
      const Status s = ReadWords(kHashTableBase + h, head);
      if (s != Status::kOk) return s;
      bin_address = head[0];
    }
    std::array<int32_t, kBinWords> bin{};
    const int64_t max_hops = file_words_ / kBinWords + 1;
    for (int64_t hop = 0; bin_address != 0; ++hop) {
      if (hop > max_hops) return Status::kDamaged;
      Status s = ReadBin(bin_address, bin);
      if (s != Status::kOk) return s;
      int64_t next_bin = 0;
      BinEntry e;
      for (int32_t at = 0;; at += e.Words()) {
        const EntryScan scan = DecodeBinEntry(bin, at, &e);
        if (scan == EntryScan::kEnd) return Status::kNotFound;
        if (scan == EntryScan::kMalformed) return Status::kDamaged;
        if (scan == EntryScan::kFull) {
          next_bin = bin[bin::kOverflowLink];
          break;
        }
        if (!entry_status::IsLive(e.status) || e.path != wanted) continue;
        InfoBlock info;
        s = ReadInfoAt(e.info_address, &info);
        if (s != Status::kOk) return s;
        if (info.path != wanted) return Status::kPathMismatch;
        out->entry = std::move(e);
        out->info = std::move(info);
        out->entry_address = bin_address + at;
        return Status::kOk;
      }
      bin_address = next_bin;
    }
    return Status::kNotFound;
  });
}

Status Dss6File::Lookup(std::string_view path, container::RecordInfo* out) {
  Found f;
  const Status s = Find(path, &f);
  if (s == Status::kOk) *out = ToRecordInfo(f);
  return s;
}

Status Dss6File::ReadArea(int64_t address, int64_t words, std::vector<int32_t>* out) {
  out->assign(static_cast<size_t>(words), 0);
  return ReadWords(address, *out);
}

Status Dss6File::ReadRecord(std::string_view path, container::RecordAreas* out) {
  return NoThrow([&]() -> Status {
    Found f;
    Status s = Find(path, &f);
    if (s != Status::kOk) return s;
    s = CheckInfoAreas(f.info, file_words_);
    if (s != Status::kOk) return s;
    container::RecordAreas r;
    r.info = ToRecordInfo(f);
    const InfoBlock& b = f.info;
    const std::pair<int64_t, int64_t> areas[] = {
        {b.internal_header_address, b.internal_header_words},
        {b.compression_header_address, b.compression_header_words},
        {b.user_header_address, b.user_header_words},
        {b.data_address, b.data_words},
    };
    const dss7::Area slots[] = {dss7::kInternalHeader, dss7::kHeader2, dss7::kUserHeader,
                                dss7::kValues1};
    for (size_t i = 0; i < 4; ++i) {
      s = ReadArea(areas[i].first, areas[i].second, &r.areas[slots[i]]);
      if (s != Status::kOk) return s;
    }
    *out = std::move(r);
    return Status::kOk;
  });
}

Status Dss6File::Catalog(std::vector<container::CatalogItem>* out) {
  return ListEntries(false, out);
}

Status Dss6File::DeletedCatalog(std::vector<container::CatalogItem>* out) {
  return ListEntries(true, out);
}

// Live entries stop the walk once the header's record count is met; deleted ones are not
// counted, so every bin is read.
Status Dss6File::ListEntries(bool deleted, std::vector<container::CatalogItem>* out) {
  return NoThrow([&]() -> Status {
    out->clear();
    const int64_t wanted = deleted ? INT64_MAX : header_[hdr::kRecordCount];
    const int64_t per_block = header_[hdr::kBinsPerBlock];
    // The first area of a stable file holds a bin for every hash code.
    int64_t in_block =
        header_[hdr::kTableFlag] == kTableFlagStable ? header_[hdr::kHashCodes] : per_block;
    int64_t address = header_[hdr::kFirstBin];
    const int64_t max_bins = file_words_ / kBinWords + 1;
    std::array<int32_t, kBinWords> bin{};
    for (int64_t visited = 0; address != 0 && static_cast<int64_t>(out->size()) < wanted;) {
      for (int64_t b = 0; b < in_block && static_cast<int64_t>(out->size()) < wanted; ++b) {
        if (++visited > max_bins) return Status::kDamaged;
        const Status s = ReadBin(address + b * kBinWords, bin);
        if (s != Status::kOk) return s;
        BinEntry e;
        for (int32_t at = 0; static_cast<int64_t>(out->size()) < wanted; at += e.Words()) {
          const EntryScan scan = DecodeBinEntry(bin, at, &e);
          if (scan == EntryScan::kMalformed) return Status::kDamaged;
          if (scan != EntryScan::kEntry) break;
          if (deleted ? entry_status::Base(e.status) != entry_status::kDeleted
                      : !entry_status::IsLive(e.status))
            continue;
          container::CatalogItem c;
          c.listed_path = ListedPath(e);
          c.path = std::move(e.path);
          c.type = e.type;
          c.info_address = e.info_address;
          c.tag = std::string(TrimTrailingBlanks(e.tag.substr(0, e.tag.find('\0'))));
          out->push_back(std::move(c));
        }
      }
      address = bin[bin::kBlockLink];
      in_block = per_block;
    }
    return Status::kOk;
  });
}

Status Dss6File::SortedCatalog(std::vector<container::CatalogItem>* out) {
  const Status s = Catalog(out);
  if (s != Status::kOk) return s;
  return NoThrow([&]() -> Status {
    const auto longest = LongestParts(header_);
    std::vector<std::pair<std::string, size_t>> keys;
    keys.reserve(out->size());
    for (size_t i = 0; i < out->size(); ++i)
      keys.emplace_back(SortKey((*out)[i], longest), i);
    std::sort(keys.begin(), keys.end());
    std::vector<container::CatalogItem> sorted;
    sorted.reserve(out->size());
    for (const auto& k : keys)
      sorted.push_back(std::move((*out)[k.second]));
    *out = std::move(sorted);
    return Status::kOk;
  });
}

}  // namespace varnock::engine::dss6
