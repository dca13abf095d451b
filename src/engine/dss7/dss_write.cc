// New records, rewrites and record copies, and the write-transaction helper they share.
#include <algorithm>

#include "engine/dss7/codec.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/dss_file_internal.h"
#include "engine/dss7/hash.h"
#include "engine/fixed_text.h"

namespace varnock::engine::dss7 {
namespace {

constexpr int32_t kMaxType = 1000;
constexpr int64_t kMillisPerDay = 86400000;
constexpr int64_t kJulianOf1970 = 25568;  // HEC day number of 1970-01-01

// Header words that count records having each area, in area order.
constexpr std::array<int, kAreaCount> kAreaCountWord = {
    hdr::kCountInternalHeader, hdr::kCountHeader2, hdr::kCountUserHeader,
    hdr::kCountValues1,        hdr::kCountValues2, hdr::kCountValues3};

int BodyMaxWord(int32_t type) {
  switch (type) {
    case 100:
      return hdr::kMaxBodyRts;
    case 105:
      return hdr::kMaxBodyRtd;
    case 110:
      return hdr::kMaxBodyIts;
    case 115:
      return hdr::kMaxBodyItd;
    case 200:
    case 205:
      return hdr::kMaxBodyPd;
    default:
      return hdr::kMaxBodyOther;
  }
}

bool TypesCompatible(int32_t a, int32_t b) {
  if (a == b) return true;
  auto pair = [](int32_t x, int32_t y, int32_t p, int32_t q) {
    return (x == p && y == q) || (x == q && y == p);
  };
  return pair(a, b, 100, 105) || pair(a, b, 110, 115);
}

Status CheckData(const RecordData& d) {
  if (d.type < 0 || d.type > kMaxType || d.allocated < 0 || d.allocated > 3 * kMaxAreaInt32 ||
      d.data_count < 0) {
    return Status::kInvalidArgument;
  }
  for (const auto& a : d.areas) {
    if (static_cast<int64_t>(a.size()) > kMaxAreaInt32) return Status::kInvalidArgument;
  }
  return Status::kOk;
}

int64_t HeaderAreaWords(const RecordData& d) {
  return WordsForInt32s(static_cast<int64_t>(d.areas[kInternalHeader].size())) +
         WordsForInt32s(static_cast<int64_t>(d.areas[kHeader2].size())) +
         WordsForInt32s(static_cast<int64_t>(d.areas[kUserHeader].size()));
}

int64_t ValueWords(const RecordData& d) {
  return WordsForInt32s(static_cast<int64_t>(d.areas[kValues1].size())) +
         WordsForInt32s(static_cast<int64_t>(d.areas[kValues2].size())) +
         WordsForInt32s(static_cast<int64_t>(d.areas[kValues3].size()));
}

// Lays the six areas out from `at` and fills the info block's area words.
void LayOut(const RecordData& d, int64_t at, int64_t allocated, InfoBlock* b) {
  for (int a = 0; a < kAreaCount; ++a) {
    b->area_address[a] = at;
    b->area_length[a] = static_cast<int64_t>(d.areas[a].size());
    at += WordsForInt32s(b->area_length[a]);
  }
  b->allocated = allocated;
}

// Packs the areas into `out`, which starts at the internal header's address.
void PackAreas(const RecordData& d, const InfoBlock& b, std::span<int64_t> out) {
  const int64_t base = b.area_address[kInternalHeader];
  for (int a = 0; a < kAreaCount; ++a) {
    const int64_t words = WordsForInt32s(b.area_length[a]);
    PackInt32s(d.areas[a], out.subspan(static_cast<size_t>(b.area_address[a] - base),
                                       static_cast<size_t>(words)));
  }
}

void FillIdentity(const RecordData& d, std::string_view program, int64_t now, InfoBlock* b) {
  b->type = d.type;
  b->last_write_ms = now;
  b->SetProgram(d.program.empty() ? program : d.program);
  b->first = d.first;
  b->last = d.last;
  b->data_count = d.data_count;
  b->logical_count = d.logical_count > 0 ? d.logical_count : d.data_count;
}

void ApplyCopyMeta(const InfoBlock& src, InfoBlock* b) {
  b->type = src.type;
  b->version = src.version;
  b->last_write_ms = src.last_write_ms;
  b->program = src.program;
  b->first = src.first;
  b->creation_ms = src.creation_ms;
  b->reserved1 = src.reserved1;
  b->reserved2 = src.reserved2;
}

}  // namespace

Writer::Writer(DssFile& f) : f_(f), tail_start_(f.header_[hdr::kFileSize]) {}

int64_t Writer::Allocate(int64_t words) {
  const int64_t at = f_.header_[hdr::kFileSize];
  f_.header_[hdr::kFileSize] = at + words;
  tail_.resize(static_cast<size_t>(at + words - tail_start_ + 1), 0);
  return at;
}

std::span<int64_t> Writer::TailAt(int64_t address, int64_t words) {
  return std::span<int64_t>(tail_).subspan(static_cast<size_t>(address - tail_start_),
                                           static_cast<size_t>(words));
}

Status Writer::TakeBin(int64_t* bin) {
  auto& h = f_.header_;
  const int64_t bin_size = h[hdr::kBinSize];
  if (h[hdr::kBinsLeftInBlock] > 0) {
    *bin = h[hdr::kNextBinAddress];
    if (*bin < hdr::kWords || *bin > f_.physical_words_ - bin_size) return Status::kDamaged;
    AddTo(h, hdr::kNextBinAddress, bin_size);
    AddTo(h, hdr::kBinsLeftInBlock, -(1));
    fresh_bin_ = *bin;
    fresh_bin_words_.assign(static_cast<size_t>(bin_size), 0);
  } else {
    // The full block's link word is where nextBinAddress stopped.
    const int64_t link_at = h[hdr::kNextBinAddress];
    if (link_at < hdr::kWords || link_at >= f_.physical_words_) return Status::kDamaged;
    const int64_t block = Allocate(h[hdr::kBinsPerBlock] * bin_size + 1);
    block_link_at_ = link_at;
    block_link_value_ = block;
    *bin = block;
    h[hdr::kNextBinAddress] = block + bin_size;
    h[hdr::kBinsLeftInBlock] = h[hdr::kBinsPerBlock] - 1;
  }
  AddTo(h, hdr::kBinsUsed, 1);
  return Status::kOk;
}

Status Writer::PlanEntry(const DssFile::Probe& probe, const BinEntry& entry, std::string_view path,
                         Placement* out) {
  auto& h = f_.header_;
  const int64_t bin_size = h[hdr::kBinSize];
  out->entry.assign(static_cast<size_t>(bin::kFixedWords + WordsForBytes(path.size())), 0);
  EncodeBinEntry(entry, path, out->entry);
  const auto entry_words = static_cast<int64_t>(out->entry.size());
  if (probe.chain_head == 0) {
    Status s = TakeBin(&out->bin);
    if (s != Status::kOk) return s;
    out->kind = Placement::Kind::kHashTable;
    out->link_address = h[hdr::kHashTableAddress] + probe.table_hash;
    AddTo(h, hdr::kHashesUsed, 1);
  } else {
    std::vector<int64_t> last(static_cast<size_t>(bin_size));
    Status s = f_.ReadBin(probe.last_bin, last);
    if (s != Status::kOk) return s;
    // First slot that is the end of the entries, or an old entry of this same path.
    int64_t j = 0;
    BinEntry e;
    EntryScan scan;
    while ((scan = DecodeBinEntry(last, j, &e)) == EntryScan::kEntry) {
      if (e.hash == entry.hash && BinEntryPathIs(last, j, e, path)) break;
      j += e.Words();
    }
    if (scan == EntryScan::kMalformed) return Status::kDamaged;
    if (EntryFits(j, entry_words, bin_size)) {
      out->kind = Placement::Kind::kInBin;
      out->bin = probe.last_bin;
      out->offset = j;
      return Status::kOk;
    }
    s = TakeBin(&out->bin);
    if (s != Status::kOk) return s;
    out->kind = Placement::Kind::kOverflow;
    out->link_address = probe.last_bin + bin_size - 1;
    AddTo(h, hdr::kOverflowBins, 1);
  }
  out->offset = 0;
  return Status::kOk;
}

void Writer::FinishEntry(Placement* p, int64_t info_address) {
  p->entry[bin::kInfoAddress] = info_address;
  if (p->kind == Placement::Kind::kInBin) return;
  // A fresh bin holds only this entry; it is written whole with the data.
  auto dest = p->bin == fresh_bin_ ? std::span<int64_t>(fresh_bin_words_)
                                   : TailAt(p->bin, f_.header_[hdr::kBinSize]);
  std::copy(p->entry.begin(), p->entry.end(), dest.begin());
}

Status Writer::WriteData() {
  Status s = Status::kOk;
  if (!tail_.empty()) {
    tail_.back() = kEndFileMarker;
    s = f_.io_->WriteWords(tail_start_, tail_);
  }
  if (s == Status::kOk && fresh_bin_ != 0) s = f_.io_->WriteWords(fresh_bin_, fresh_bin_words_);
  if (s == Status::kOk && block_link_at_ != 0) s = WriteWord(block_link_at_, block_link_value_);
  if (s == Status::kOk)
    f_.physical_words_ = std::max(f_.physical_words_, f_.header_[hdr::kFileSize] + 1);
  return s;
}

Status Writer::WriteWord(int64_t address, int64_t value) {
  const std::array<int64_t, 1> w{value};
  return f_.io_->WriteWords(address, w);
}

Status Writer::WriteLink(const Placement& p) {
  switch (p.kind) {
    case Placement::Kind::kHashTable: {
      const Status s = WriteWord(p.link_address, p.bin);
      if (s == Status::kOk && f_.hash_table_loaded_) {
        f_.hash_table_[static_cast<size_t>(p.link_address - f_.header_[hdr::kHashTableAddress])] =
            p.bin;
      }
      return s;
    }
    case Placement::Kind::kOverflow:
      return WriteWord(p.link_address, p.bin);
    case Placement::Kind::kInBin:
      return f_.io_->WriteWords(p.bin + p.offset, p.entry);
  }
  return Status::kDamaged;
}

void Writer::NoteNewPath(std::string_view path, const DssFile::Probe& probe) {
  auto& h = f_.header_;
  h[hdr::kMaxPath] = std::max<int64_t>(h[hdr::kMaxPath], static_cast<int64_t>(path.size()));
  std::array<int64_t, 6> parts{};
  if (SplitPartLengths(path, &parts)) {
    for (int p = 0; p < 6; ++p)
      h[hdr::kMaxPartA + p] = std::max(h[hdr::kMaxPartA + p], parts[p]);
  }
  if (probe.entries_passed + 1 > h[hdr::kMaxEntriesOneHash]) {
    h[hdr::kMaxEntriesOneHash] = probe.entries_passed + 1;
    h[hdr::kMaxEntriesHashValue] = probe.table_hash;
  }
  if (probe.chain_head != 0 && probe.collision) AddTo(h, hdr::kHashCollisions, 1);
}

void Writer::NoteAreaMaxima(const InfoBlock& b) {
  auto& h = f_.header_;
  int64_t body = 0;
  for (int a = 0; a < kAreaCount; ++a) {
    h[hdr::kMaxInternalHeader + a] = std::max(h[hdr::kMaxInternalHeader + a], b.area_length[a]);
    body += WordsForInt32s(b.area_length[a]);
  }
  h[hdr::kMaxRecordBody] = std::max(h[hdr::kMaxRecordBody], body);
  const int w = BodyMaxWord(b.type);
  h[w] = std::max(h[w], body);
}

void Writer::CountAreas(const InfoBlock& b, int64_t delta) {
  auto& h = f_.header_;
  for (int a = 0; a < kAreaCount; ++a) {
    if (b.area_length[a] > 0) AddTo(h, kAreaCountWord[a], delta);
  }
}

Status DssFile::WriteNewRecord(std::string_view path, const RecordData& data) {
  return DoWrite(path, data, Mode::kNew, nullptr);
}
Status DssFile::Rewrite(std::string_view path, const RecordData& data) {
  return DoWrite(path, data, Mode::kRewrite, nullptr);
}
Status DssFile::Store(std::string_view path, const RecordData& data) {
  return DoWrite(path, data, Mode::kEither, nullptr);
}

Status DssFile::DoWrite(std::string_view path, const RecordData& data, Mode mode,
                        const CopyMeta* meta) {
  if (!open_) return Status::kNotOpen;
  if (!IsStorablePath(path)) return Status::kInvalidArgument;
  Status s = CheckData(data);
  if (s != Status::kOk) return s;
  s = BeginWrite();
  if (s != Status::kOk) return s;
  return EndWrite(NoThrow([&]() -> Status {
    Probe probe;
    Status st = FindEntry(path, Want::kLive, &probe);
    if (st != Status::kOk && st != Status::kNotFound) return st;
    if (probe.found && mode == Mode::kNew) return Status::kExists;
    if (!probe.found && mode == Mode::kRewrite) return Status::kNotFound;
    const int64_t now = Now();
    const int64_t value_words = ValueWords(data);
    const int64_t allocated = std::max(data.allocated, 2 * value_words);
    Writer w(*this);

    if (!probe.found) {
      // New record: 10.1.
      const auto path_words = WordsForBytes(static_cast<int64_t>(path.size()));
      InfoBlock b;
      b.status = entry_status::kLive;
      b.path_length = static_cast<int64_t>(path.size());
      b.bin_hash = probe.bin_hash;
      b.version = 1;
      b.creation_ms = now;
      b.path = std::string(path);
      FillIdentity(data, options_.program, now, &b);
      if (meta != nullptr) {
        ApplyCopyMeta(*meta->source, &b);
        b.expansions = meta->expansions;
      }
      BinEntry e;
      e.hash = probe.bin_hash;
      e.status = entry_status::kLive;
      e.type = b.type;
      e.sequence = static_cast<int32_t>(header_[hdr::kSortListSaves]);
      e.last_write_ms = now;
      if (IsTimeSeriesType(b.type)) {
        e.first_julian = b.first.julian;
        e.last_julian = b.last.julian;
      }
      Placement place;
      // HEC takes the bin before the record's area; the layout follows that order.
      st = w.PlanEntry(probe, e, path, &place);
      if (st != Status::kOk) return st;
      const int64_t total =
          info::kFixedWords + path_words + HeaderAreaWords(data) + WordsForInt32s(allocated);
      b.address = w.Allocate(total);
      w.FinishEntry(&place, b.address);
      LayOut(data, b.address + info::kFixedWords + path_words, allocated, &b);
      auto area = w.TailAt(b.address, total);
      EncodeInfoBlock(b, area);
      PackAreas(data, b, area.subspan(static_cast<size_t>(info::kFixedWords + path_words)));
      auto& h = header_;
      AddTo(h, hdr::kRecordCount, 1);
      AddTo(h, hdr::kSortNewWrites, 1);
      if (h[hdr::kSortStatus] == sort_status::kValid) h[hdr::kSortStatus] = sort_status::kAdded;
      if (IsCollectionPath(path)) AddTo(h, hdr::kCollectionCount, 1);
      if (meta != nullptr) AddTo(h, hdr::kExpansionCount, meta->expansions);
      w.CountAreas(b, +1);
      w.NoteNewPath(path, probe);
      w.NoteAreaMaxima(b);
      h[hdr::kLastWriteTime] = now;
      if ((st = w.WriteData()) != Status::kOk) return st;
      if ((st = WriteHeader()) != Status::kOk) return st;
      return w.WriteLink(place);
    }

    // Rewrite: 10.2.
    const InfoBlock old = probe.info;
    if (!TypesCompatible(old.type, data.type) && meta == nullptr && !data.any_type) {
      return Status::kTypeMismatch;
    }
    st = CheckInfoBlock(old, physical_words_);
    if (st != Status::kOk) return st;
    const int64_t entry_at = probe.entry_bin + probe.entry_offset;
    const int64_t old_int32 = old.SpaceInt32();
    const int64_t new_int32 =
        static_cast<int64_t>(data.areas[kInternalHeader].size() + data.areas[kHeader2].size() +
                             data.areas[kUserHeader].size()) +
        allocated;
    const int64_t header_words = HeaderAreaWords(data);
    const int64_t old_words = old.BodyWords();
    InfoBlock b = old;
    FillIdentity(data, options_.program, now, &b);
    b.version = Next(old.version);
    if (meta != nullptr) {
      ApplyCopyMeta(*meta->source, &b);
      b.expansions = meta->expansions;
      AddTo(header_, hdr::kExpansionCount, meta->expansions);
    }
    std::array<int64_t, 4> entry_words{};  // bin words 3..6
    entry_words[0] = old.address;
    entry_words[1] = PackPair(b.type, probe.entry.sequence);
    entry_words[2] = now;
    entry_words[3] = IsTimeSeriesType(b.type) ? PackPair(b.first.julian, b.last.julian) : 0;
    auto& h = header_;
    h[hdr::kLastWriteTime] = now;
    if (!data.move_on_rewrite && new_int32 <= old_int32 &&
        header_words + WordsForInt32s(allocated) <= old_words) {
      // In place; the space given to the record never shrinks.
      const int64_t kept_alloc = 2 * (old_words - header_words);
      LayOut(data, old.area_address[kInternalHeader], kept_alloc, &b);
      std::vector<int64_t> body(static_cast<size_t>(header_words + value_words), 0);
      PackAreas(data, b, body);
      std::vector<int64_t> info_words(static_cast<size_t>(b.Words()));
      EncodeInfoBlock(b, info_words);
      w.NoteAreaMaxima(b);
      if ((st = io_->WriteWords(b.area_address[kInternalHeader], body)) != Status::kOk) return st;
      if ((st = io_->WriteWords(b.address, info_words)) != Status::kOk) return st;
      if ((st = WriteHeader()) != Status::kOk) return st;
      return io_->WriteWords(entry_at + bin::kInfoAddress, entry_words);
    }
    // Moved to the end. HEC counts values 3 twice when sizing the new area; so do we, to
    // keep files laid out as HEC lays them.
    const int64_t path_words = WordsForBytes(b.path_length);
    const int64_t total = info::kFixedWords + path_words + header_words +
                          WordsForInt32s(allocated) +
                          WordsForInt32s(static_cast<int64_t>(data.areas[kValues3].size()));
    b.address = w.Allocate(total);
    b.status = entry_status::kLive;
    if (meta == nullptr) b.expansions = Next(old.expansions);
    LayOut(data, b.address + info::kFixedWords + path_words, allocated, &b);
    auto area = w.TailAt(b.address, total);
    EncodeInfoBlock(b, area);
    PackAreas(data, b, area.subspan(static_cast<size_t>(info::kFixedWords + path_words)));
    entry_words[0] = b.address;
    AddTo(h, hdr::kDeadSpace, old_int32 + old.Words());  // HEC's mixed units
    AddTo(h, hdr::kExpansionCount, 1);
    w.NoteAreaMaxima(b);
    if ((st = w.WriteData()) != Status::kOk) return st;
    if ((st = WriteHeader()) != Status::kOk) return st;
    if ((st = io_->WriteWords(entry_at + bin::kInfoAddress, entry_words)) != Status::kOk) {
      return st;
    }
    return w.WriteWord(old.address + info::kStatus, entry_status::kMoved);
  }));
}

Status DssFile::CopyRead(const Record& rec, DssFile& target, std::string_view target_path) {
  RecordData d;
  d.type = rec.info.type;
  for (int a = 0; a < kAreaCount; ++a)
    d.areas[a] = rec.areas[a];
  d.allocated = rec.info.allocated;
  d.data_count = rec.info.data_count;
  d.logical_count = rec.info.logical_count;
  d.first = rec.info.first;
  d.last = rec.info.last;
  CopyMeta meta;
  meta.source = &rec.info;
  meta.expansions = rec.info.expansions;
  if (rec.info.type >= 100 && rec.info.type < 120 && rec.info.expansions > 0) {
    // A series that grew but is not current gets its space cut back to its data.
    const int64_t today = target.Now() / kMillisPerDay + kJulianOf1970;
    if (today < rec.info.first.julian || today > rec.info.last.julian) {
      d.allocated = 0;
      meta.expansions = 0;
    }
  }
  return target.DoWrite(target_path, d, Mode::kEither, &meta);
}

Status DssFile::Copy(std::string_view path, DssFile& target, std::string_view target_path) {
  if (!open_ || !target.open_) return Status::kNotOpen;
  return NoThrow([&]() -> Status {
    Record rec;
    Status s = ReadRecord(path, &rec);
    if (s != Status::kOk) return s;
    s = CopyRead(rec, target, target_path);
    if (s != Status::kOk || rec.info.type == kLocationType) return s;
    // The location record of the path's A and B parts goes along, as HEC copies it.
    const std::string from = LocationRecordPath(path);
    const std::string to = LocationRecordPath(target_path);
    if (from.empty() || to.empty() || (&target == this && EqualIgnoringCase(from, to)))
      return Status::kOk;
    Record location;
    s = ReadRecord(from, &location);
    if (s == Status::kNotFound) return Status::kOk;
    if (s != Status::kOk) return s;
    Record there;
    if (target.ReadRecord(to, &there) == Status::kOk && there.info.type == location.info.type &&
        there.areas == location.areas)
      return Status::kOk;
    return CopyRead(location, target, to);
  });
}

std::string LocationRecordPath(std::string_view path) {
  // "/A/B/...": the A and B parts lie between the first three slashes.
  if (path.empty() || path.front() != '/') return {};
  const size_t a_end = path.find('/', 1);
  if (a_end == std::string_view::npos) return {};
  const size_t b_end = path.find('/', a_end + 1);
  if (b_end == std::string_view::npos || std::count(path.begin(), path.end(), '/') != 7) return {};
  return std::string(path.substr(0, b_end + 1)) + "Location Info////";
}

}  // namespace varnock::engine::dss7
