// New records, rewrites and record copies, and the write-transaction helper they share.
#include <algorithm>

#include "engine/dss7/codec.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss7/dss_file_internal.h"
#include "engine/dss7/hash.h"
#include "engine/rules/fixed_text.h"

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
  if (reuse_at_ != 0 && address >= reuse_at_ &&
      address < reuse_at_ + static_cast<int64_t>(reuse_words_.size())) {
    return std::span<int64_t>(reuse_words_)
        .subspan(static_cast<size_t>(address - reuse_at_), static_cast<size_t>(words));
  }
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
  if (probe.dead_slot_bin != 0) {
    out->kind = Placement::Kind::kReuse;
    out->bin = probe.dead_slot_bin;
    out->offset = probe.dead_slot_offset;
    return Status::kOk;
  }
  if (probe.chain_head == 0) {
    Status s = TakeBin(&out->bin);
    if (s != Status::kOk) return s;
    out->kind = Placement::Kind::kHashTable;
    out->link_address = h[hdr::kHashTableAddress] + probe.table_hash;
    AddTo(h, hdr::kHashesUsed, 1);
  } else {
    std::span<const int64_t> last;
    Status s = f_.BinView(probe.last_bin, &last);
    if (s != Status::kOk) return s;
    int64_t j = 0;
    BinEntry e;
    EntryScan scan;
    while ((scan = DecodeBinEntry(last, j, &e)) == EntryScan::kEntry)
      j += e.Words();
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
  if (p->kind == Placement::Kind::kInBin || p->kind == Placement::Kind::kReuse) return;
  // A fresh bin holds only this entry; it is written whole with the data.
  auto dest = p->bin == fresh_bin_ ? std::span<int64_t>(fresh_bin_words_)
                                   : TailAt(p->bin, f_.header_[hdr::kBinSize]);
  std::copy(p->entry.begin(), p->entry.end(), dest.begin());
}

Status Writer::WriteData() {
  Status s = Status::kOk;
  if (!tail_.empty()) {
    tail_.back() = kEndFileMarker;
    s = f_.Put(tail_start_, tail_);
  }
  if (s == Status::kOk && fresh_bin_ != 0) s = f_.Put(fresh_bin_, fresh_bin_words_);
  // A reused piece: the record first (the piece is still listed, so nothing points at it),
  // then the shorter length of its reclaim pair (one word, which only ever shrinks).
  if (s == Status::kOk && reuse_at_ != 0) s = f_.Put(reuse_at_, reuse_words_);
  if (s == Status::kOk && reuse_pair_at_ != 0) s = WriteWord(reuse_pair_at_, reuse_pair_length_);
  if (s == Status::kOk)
    f_.physical_words_ = std::max(f_.physical_words_, f_.header_[hdr::kFileSize] + 1);
  return s;
}

Status Writer::WriteWord(int64_t address, int64_t value) {
  return f_.PutWord(address, value);
}

Status Writer::WriteLink(const Placement& p) {
  // With sync_each_write, a power cut must not reorder the steps on disk either: the data and
  // header are durable before the link, and the link before anything is retired.
  Status s = f_.Barrier();
  if (s == Status::kOk) s = Link(p);
  return s == Status::kOk ? f_.Barrier() : s;
}

Status Writer::Link(const Placement& p) {
  // A new bin block joins the chain only after the header has claimed it.
  if (block_link_at_ != 0) {
    const Status s = WriteWord(block_link_at_, block_link_value_);
    if (s != Status::kOk) return s;
  }
  const std::span<const int64_t> entry(p.entry);
  const int64_t at = p.bin + p.offset;
  switch (p.kind) {
    case Placement::Kind::kHashTable: {
      return WriteWord(p.link_address, p.bin);  // Put keeps the cached table in step
    }
    case Placement::Kind::kOverflow:
      return WriteWord(p.link_address, p.bin);
    case Placement::Kind::kInBin: {
      // Past the last entry: invisible until its hash word, written last, lands.
      const Status s = f_.Put(at + bin::kStatus, entry.subspan(bin::kStatus));
      return s == Status::kOk ? WriteWord(at + bin::kHash, entry[bin::kHash]) : s;
    }
    case Placement::Kind::kReuse: {
      // A dead entry of the same path: it stays dead until its status word changes.
      const Status s = f_.Put(at + bin::kLengths, entry.subspan(bin::kLengths));
      return s == Status::kOk ? WriteWord(at + bin::kStatus, entry[bin::kStatus]) : s;
    }
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
    probe.full_walk = true;
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
      b.status = entry_status::kMoved;  // marked live once its entry is linked
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
      int64_t granted = 0;
      if ((st = w.AllocateRecord(total, &b.address, &granted)) != Status::kOk) return st;
      w.FinishEntry(&place, b.address);
      LayOut(data, b.address + info::kFixedWords + path_words, allocated + 2 * (granted - total),
             &b);
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
      if ((st = w.WriteLink(place)) != Status::kOk) return st;
      return w.WriteWord(b.address + info::kStatus, entry_status::kLive);
    }

    // Rewrite: the new version is written like a new record (fresh space, its own bin entry,
    // its info block marked moved), linked, and only then is the old version retired.
    const InfoBlock old = probe.info;
    if (!TypesCompatible(old.type, data.type) && meta == nullptr && !data.any_type) {
      return Status::kTypeMismatch;
    }
    st = CheckInfoBlock(old, physical_words_);
    if (st != Status::kOk) return st;
    const int64_t old_entry = probe.entry_bin + probe.entry_offset;
    const int64_t old_int32 = old.SpaceInt32();
    const int64_t new_int32 =
        static_cast<int64_t>(data.areas[kInternalHeader].size() + data.areas[kHeader2].size() +
                             data.areas[kUserHeader].size()) +
        allocated;
    auto& h = header_;
    InfoBlock b = old;
    FillIdentity(data, options_.program, now, &b);
    b.version = Next(old.version);
    b.status = entry_status::kMoved;
    if (meta != nullptr) {
      ApplyCopyMeta(*meta->source, &b);
      b.expansions = meta->expansions;
      AddTo(h, hdr::kExpansionCount, meta->expansions);
    } else if (new_int32 > old_int32) {
      b.expansions = Next(old.expansions);
      AddTo(h, hdr::kExpansionCount, 1);
    }
    BinEntry e = probe.entry;
    e.status = entry_status::kLive;
    e.type = b.type;
    e.last_write_ms = now;
    e.first_julian = IsTimeSeriesType(b.type) ? b.first.julian : 0;
    e.last_julian = IsTimeSeriesType(b.type) ? b.last.julian : 0;
    Placement place;
    st = w.PlanEntry(probe, e, b.path, &place);
    if (st != Status::kOk) return st;
    const int64_t path_words = WordsForBytes(b.path_length);
    const int64_t total =
        info::kFixedWords + path_words + HeaderAreaWords(data) + WordsForInt32s(allocated);
    int64_t granted = 0;
    if ((st = w.AllocateRecord(total, &b.address, &granted)) != Status::kOk) return st;
    w.FinishEntry(&place, b.address);
    LayOut(data, b.address + info::kFixedWords + path_words, allocated + 2 * (granted - total), &b);
    auto area = w.TailAt(b.address, total);
    EncodeInfoBlock(b, area);
    PackAreas(data, b, area.subspan(static_cast<size_t>(info::kFixedWords + path_words)));
    AddTo(h, hdr::kDeadSpace, old_int32 + old.Words());  // HEC's mixed units
    // The saved sort list holds entry addresses; the record's entry moves.
    if (h[hdr::kSortStatus] > sort_status::kNone) h[hdr::kSortStatus] = sort_status::kUnusable;
    h[hdr::kLastWriteTime] = now;
    w.NoteAreaMaxima(b);
    if ((st = w.WriteData()) != Status::kOk) return st;
    if ((st = WriteHeader()) != Status::kOk) return st;
    if ((st = w.WriteLink(place)) != Status::kOk) return st;
    if ((st = w.WriteWord(old_entry + bin::kStatus, entry_status::kMoved)) != Status::kOk ||
        (st = w.WriteWord(old.address + info::kStatus, entry_status::kMoved)) != Status::kOk ||
        (st = w.WriteWord(b.address + info::kStatus, entry_status::kLive)) != Status::kOk) {
      return st;
    }
    // The old version's space, when its info block sits right before its arrays.
    if (old.address + old.Words() != old.area_address[kInternalHeader]) return Status::kOk;
    return w.Free(old.address, old.Words() + old.BodyWords());
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
