#include "engine/dss7/records.h"

#include "engine/dss7/codec.h"

namespace varnock::engine::dss7 {

EntryScan DecodeBinEntry(std::span<const int64_t> bin, int64_t offset, BinEntry* out) {
  const auto size = static_cast<int64_t>(bin.size());
  if (offset < 0 || offset >= size - bin::kReservedTail) return EntryScan::kEnd;
  if (bin[offset + bin::kHash] == 0) return EntryScan::kEnd;
  if (offset + bin::kFixedWords > size - bin::kReservedTail) return EntryScan::kMalformed;
  BinEntry e;
  e.hash = bin[offset + bin::kHash];
  e.status = bin[offset + bin::kStatus];
  e.path_bytes = PairFirst(bin[offset + bin::kLengths]);
  e.path_words = PairSecond(bin[offset + bin::kLengths]);
  e.info_address = bin[offset + bin::kInfoAddress];
  e.type = PairFirst(bin[offset + bin::kTypeSequence]);
  e.sequence = PairSecond(bin[offset + bin::kTypeSequence]);
  e.last_write_ms = bin[offset + bin::kLastWrite];
  e.first_julian = PairFirst(bin[offset + bin::kDates]);
  e.last_julian = PairSecond(bin[offset + bin::kDates]);
  if (e.path_bytes < 1 || e.path_words != WordsForBytes(e.path_bytes) ||
      offset + e.Words() > size - bin::kReservedTail) {
    return EntryScan::kMalformed;
  }
  *out = e;
  return EntryScan::kEntry;
}

void BinEntryPath(std::span<const int64_t> bin, int64_t offset, const BinEntry& e,
                  std::string* out) {
  LoadBytes(
      bin.subspan(static_cast<size_t>(offset + bin::kPath), static_cast<size_t>(e.path_words)),
      static_cast<size_t>(e.path_bytes), out);
}

std::string BinEntryPath(std::span<const int64_t> bin, int64_t offset, const BinEntry& e) {
  std::string path;
  BinEntryPath(bin, offset, e, &path);
  return path;
}

bool BinEntryPathIs(std::span<const int64_t> bin, int64_t offset, const BinEntry& e,
                    std::string_view path) {
  if (static_cast<size_t>(e.path_bytes) != path.size()) return false;
  const auto words = bin.subspan(static_cast<size_t>(offset + bin::kPath));
  for (size_t k = 0; k < path.size(); ++k) {
    unsigned char a = ByteAt(words, k);
    unsigned char b = static_cast<unsigned char>(path[k]);
    if (a >= 'a' && a <= 'z') a = static_cast<unsigned char>(a - 'a' + 'A');
    if (b >= 'a' && b <= 'z') b = static_cast<unsigned char>(b - 'a' + 'A');
    if (a != b) return false;
  }
  return true;
}

void EncodeBinEntry(const BinEntry& e, std::string_view path, std::span<int64_t> out) {
  const auto len = static_cast<int32_t>(path.size());
  const auto words = static_cast<int32_t>(WordsForBytes(len));
  out[bin::kHash] = e.hash;
  out[bin::kStatus] = e.status;
  out[bin::kLengths] = PackPair(len, words);
  out[bin::kInfoAddress] = e.info_address;
  out[bin::kTypeSequence] = PackPair(e.type, e.sequence);
  out[bin::kLastWrite] = e.last_write_ms;
  out[bin::kDates] = PackPair(e.first_julian, e.last_julian);
  StoreBytes(path, out.subspan(bin::kPath, static_cast<size_t>(words)));
}

int64_t InfoBlock::Words() const {
  return info::kFixedWords + WordsForBytes(path_length);
}

std::string InfoBlock::Program() const {
  std::string s = LoadBytes(program, 16);
  const size_t nul = s.find('\0');
  if (nul != std::string::npos) s.resize(nul);
  return s;
}

void InfoBlock::SetProgram(std::string_view name) {
  program.fill(0);
  StoreBytes(name.substr(0, 16), program);
}

int64_t InfoBlock::SpaceInt32() const {
  return area_length[kInternalHeader] + area_length[kHeader2] + area_length[kUserHeader] +
         allocated;
}

int64_t InfoBlock::BodyWords() const {
  return WordsForInt32s(area_length[kInternalHeader]) + WordsForInt32s(area_length[kHeader2]) +
         WordsForInt32s(area_length[kUserHeader]) + WordsForInt32s(allocated);
}

Status DecodeInfoBlock(std::span<const int64_t> words, InfoBlock* out) {
  if (words.size() < static_cast<size_t>(info::kFixedWords)) return Status::kDamaged;
  if (words[info::kFlag] != kInfoFlag) return Status::kDamaged;
  const int64_t len = words[info::kPathLength];
  if (len < 0 || len > kLookupPathBytes) return Status::kDamaged;
  InfoBlock b;
  b.address = out->address;
  b.status = words[info::kStatus];
  b.path_length = len;
  b.bin_hash = words[info::kBinHash];
  b.type = PairFirst(words[info::kTypeVersion]);
  b.version = PairSecond(words[info::kTypeVersion]);
  b.expansions = PairFirst(words[info::kExpansion]);
  b.expansion_flag = PairSecond(words[info::kExpansion]);
  b.last_write_ms = words[info::kLastWrite];
  b.program = {words[info::kProgram], words[info::kProgram + 1]};
  b.first = {PairFirst(words[info::kFirstDate]), PairSecond(words[info::kFirstDate])};
  b.last = {PairFirst(words[info::kLastDate]), PairSecond(words[info::kLastDate])};
  b.creation_ms = words[info::kCreation];
  b.reserved1 = words[info::kReserved1];
  for (int a = 0; a < kAreaCount; ++a) {
    b.area_address[a] = words[InfoAreaAddressWord(a)];
    b.area_length[a] = words[InfoAreaLengthWord(a)];
  }
  b.allocated = words[info::kAllocated];
  b.data_count = words[info::kDataCount];
  b.logical_count = words[info::kLogicalCount];
  b.alias_address = words[info::kAliasAddress];
  b.reserved2 = words[info::kReserved2];
  const auto need = static_cast<size_t>(b.Words());
  if (words.size() >= need) {
    b.path = LoadBytes(words.subspan(info::kPath), static_cast<size_t>(len));
  }
  *out = std::move(b);
  return Status::kOk;
}

void EncodeInfoBlock(const InfoBlock& b, std::span<int64_t> out) {
  out[info::kFlag] = kInfoFlag;
  out[info::kStatus] = b.status;
  out[info::kPathLength] = b.path_length;
  out[info::kBinHash] = b.bin_hash;
  out[info::kTypeVersion] = PackPair(b.type, b.version);
  out[info::kExpansion] = PackPair(b.expansions, b.expansion_flag);
  out[info::kLastWrite] = b.last_write_ms;
  out[info::kProgram] = b.program[0];
  out[info::kProgram + 1] = b.program[1];
  out[info::kFirstDate] = PackPair(b.first.julian, b.first.seconds);
  out[info::kLastDate] = PackPair(b.last.julian, b.last.seconds);
  out[info::kCreation] = b.creation_ms;
  out[info::kReserved1] = b.reserved1;
  for (int a = 0; a < kAreaCount; ++a) {
    out[InfoAreaAddressWord(a)] = b.area_address[a];
    out[InfoAreaLengthWord(a)] = b.area_length[a];
  }
  out[info::kAllocated] = b.allocated;
  out[info::kDataCount] = b.data_count;
  out[info::kLogicalCount] = b.logical_count;
  out[info::kAliasAddress] = b.alias_address;
  out[info::kReserved2] = b.reserved2;
  StoreBytes(b.path, out.subspan(info::kPath, static_cast<size_t>(WordsForBytes(b.path_length))));
}

Status CheckInfoBlock(const InfoBlock& b, int64_t limit_words) {
  if (b.status < 0 || b.status > info::kMaxStatus) return Status::kDamaged;
  if (b.path_length < 0 || b.path_length > kMaxPathBytes) return Status::kDamaged;
  if (b.type < 0 || b.version < 0 || b.data_count < 0 || b.logical_count < 0) {
    return Status::kDamaged;
  }
  if (b.alias_address < 0 || b.alias_address > limit_words) return Status::kDamaged;
  if (b.allocated < 0 || b.allocated > 3 * kMaxAreaInt32 + 6) return Status::kDamaged;
  int64_t previous = 0;
  for (int a = 0; a < kAreaCount; ++a) {
    const int64_t addr = b.area_address[a];
    const int64_t len = b.area_length[a];
    if (len < 0 || len > kMaxAreaInt32) return Status::kDamaged;
    if (addr < 0 || addr < previous || addr > limit_words) return Status::kDamaged;
    if (addr + WordsForInt32s(len) > limit_words) return Status::kDamaged;
    previous = addr;
  }
  const int64_t alloc_end = b.area_address[kValues1] + WordsForInt32s(b.allocated);
  if (alloc_end > limit_words) return Status::kDamaged;
  return Status::kOk;
}

}  // namespace varnock::engine::dss7
