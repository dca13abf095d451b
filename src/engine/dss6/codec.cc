#include "engine/dss6/codec.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "engine/dss7/hash.h"

namespace varnock::engine::dss6 {
namespace {

int32_t FromDisk(int32_t v) {
  if constexpr (std::endian::native == std::endian::big) {
    return static_cast<int32_t>(__builtin_bswap32(static_cast<uint32_t>(v)));
  }
  return v;
}

// HEC's collection rule: "/C:" + 6 characters + "|" has the 6 characters hashed as "XXXXXX".
std::string HashInput(std::string_view path) {
  std::string s(path);
  const size_t c = s.find("/C:");
  if (c != std::string::npos && s.find('|') != std::string::npos && c + 9 < s.size() &&
      s[c + 9] == '|') {
    s.replace(c + 3, 6, "XXXXXX");
  }
  return s;
}

}  // namespace

int64_t SpanBytes(int64_t address, int64_t count) {
  if (count <= 0) return 0;
  return ByteOffset(address + count - 1) + kWordBytes - ByteOffset(address);
}

void GatherWords(std::span<const std::byte> bytes, int64_t address, std::span<int32_t> out) {
  const int64_t base = ByteOffset(address);
  for (size_t i = 0; i < out.size(); ++i) {
    const int64_t at = ByteOffset(address + static_cast<int64_t>(i)) - base;
    int32_t v;
    std::memcpy(&v, bytes.data() + at, sizeof v);
    out[i] = FromDisk(v);
  }
}

void ScatterWords(std::span<const int32_t> words, int64_t address, std::span<std::byte> bytes) {
  const int64_t base = ByteOffset(address);
  for (size_t i = 0; i < words.size(); ++i) {
    const int64_t at = ByteOffset(address + static_cast<int64_t>(i)) - base;
    const int32_t v = FromDisk(words[i]);
    std::memcpy(bytes.data() + at, &v, sizeof v);
  }
}

std::string LoadChars(std::span<const int32_t> words, size_t n) {
  n = std::min(n, words.size() * 4);
  std::string s(n, '\0');
  for (size_t k = 0; k < n; ++k)
    s[k] = CharAt(words, k);
  return s;
}

void StoreChars(std::string_view text, std::span<int32_t> words, char pad) {
  const size_t n = std::min(text.size(), words.size() * 4);
  for (size_t w = 0; w < words.size(); ++w) {
    uint32_t v = 0;
    for (size_t b = 0; b < 4; ++b) {
      const size_t k = 4 * w + b;
      const auto c = static_cast<unsigned char>(k < n ? text[k] : pad);
      v |= static_cast<uint32_t>(c) << (8 * b);
    }
    words[w] = static_cast<int32_t>(v);
  }
}

std::string NormalisePath(std::string_view path) {
  std::string s(path);
  for (char& c : s) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    if (static_cast<unsigned char>(c) < 32) c = '?';
  }
  return s;
}

int32_t PathHash(std::string_view normalised, int32_t codes) {
  if (codes <= 0) return 0;
  int ibit = 14;
  for (int i = 9; i <= 13; ++i) {
    if (codes <= (1 << i)) {
      ibit = i;
      break;
    }
  }
  const uint64_t x = dss7::XorBitGroups(HashInput(normalised), ibit, [](uint8_t c) { return c; });
  return static_cast<int32_t>(x % static_cast<uint64_t>(codes)) + 1;
}

bool IsLongPath(std::string_view normalised) {
  if (normalised.size() > static_cast<size_t>(kLongPathBytes)) return true;
  size_t start = 1;
  for (int part = 0; part < 6 && start <= normalised.size(); ++part) {
    size_t end = normalised.find('/', start);
    if (end == std::string_view::npos) end = normalised.size();
    if (end - start > static_cast<size_t>(kLongPartBytes)) return true;
    start = end + 1;
  }
  return false;
}

Status CheckHeader(const HeaderWords& h, int64_t file_words, bool* crashed) {
  *crashed = false;
  const std::span<const int32_t> words(h);
  if (LoadChars(words.subspan(hdr::kMagic, 1), 4) != "ZDSS") return Status::kNotDssFile;
  if (LoadChars(words.subspan(hdr::kVersion, 1), 2) != "6-") {
    return Status::kIncompatibleVersion;
  }
  if (h[hdr::kFileSize] == kCrashedFileSize) {
    *crashed = true;
  } else if (h[hdr::kFileSize] < hdr::kWords) {
    return Status::kInvalidHeader;
  }
  const int32_t codes = h[hdr::kHashCodes];
  const int32_t per_block = h[hdr::kBinsPerBlock];
  const int32_t flag = h[hdr::kTableFlag];
  if (codes < kMinHashCodes || codes > kMaxHashCodes) return Status::kInvalidHeader;
  if (flag != kTableFlagHash && flag != kTableFlagStable) return Status::kInvalidHeader;
  if (per_block < 1 || per_block > kMaxBinsPerBlock) return Status::kInvalidHeader;
  if (h[hdr::kBinSize] != kBinWords) return Status::kInvalidHeader;
  if (h[hdr::kRecordCount] < 0) return Status::kInvalidHeader;
  const int64_t first_bin = h[hdr::kFirstBin];
  const int64_t first_area_bins = flag == kTableFlagStable ? codes : per_block;
  if (first_bin <= hdr::kWords || first_bin - 1 + first_area_bins * kBinWords > file_words) {
    return Status::kInvalidHeader;
  }
  if (flag == kTableFlagHash && kHashTableBase + codes >= first_bin) {
    return Status::kInvalidHeader;
  }
  return Status::kOk;
}

std::string VersionText(const HeaderWords& h) {
  return LoadChars(std::span<const int32_t>(h).subspan(hdr::kVersion, 1), 4);
}

std::array<int32_t, 6> LongestParts(const HeaderWords& h) {
  std::array<int32_t, 6> out{};
  const std::span<const int32_t> words(h);
  for (size_t p = 0; p < out.size(); ++p)
    out[p] = static_cast<unsigned char>(CharAt(words.subspan(hdr::kLongestParts, 2), p));
  return out;
}

EntryScan DecodeBinEntry(std::span<const int32_t> bin, int32_t offset, BinEntry* out) {
  if (bin.size() != static_cast<size_t>(kBinWords)) return EntryScan::kMalformed;
  if (offset < 0 || offset > bin::kLastEntryWord) return EntryScan::kEnd;
  const int32_t status = bin[static_cast<size_t>(offset)];
  if (status == entry_status::kEnd) return EntryScan::kEnd;
  if (status == entry_status::kFull) return EntryScan::kFull;
  if (status < 0 || status > entry_status::kMaxStatus) return EntryScan::kMalformed;
  if (offset + 1 > bin::kLastEntryWord) return EntryScan::kMalformed;
  const int32_t len = bin[static_cast<size_t>(offset + bin::kPathBytes)];
  if (len < 1 || len > kMaxPathBytes) return EntryScan::kMalformed;
  const int32_t p = PathWords(len);
  // The whole entry must lie before the overflow link.
  if (offset + bin::kFixedWords + p > bin::kOverflowLink) return EntryScan::kMalformed;
  const auto at = [&](int k) { return bin[static_cast<size_t>(offset + bin::kPath + p + k)]; };
  BinEntry e;
  e.status = status;
  e.path_bytes = len;
  e.path_words = p;
  e.path =
      LoadChars(bin.subspan(static_cast<size_t>(offset + bin::kPath), p), static_cast<size_t>(len));
  e.info_address = at(bin::kInfoAddress);
  e.user_header_words = at(bin::kUserHeaderWords);
  e.data_words = at(bin::kDataWords);
  e.logical_count = at(bin::kLogicalCount);
  e.type = at(bin::kType);
  e.tag = LoadChars(bin.subspan(static_cast<size_t>(offset + bin::kPath + p + bin::kTag), 2), 8);
  e.hash = at(bin::kHash);
  e.pseudo_interval = at(bin::kPseudoInterval);
  *out = std::move(e);
  return EntryScan::kEntry;
}

void EncodeBinEntry(const BinEntry& e, std::span<int32_t> out) {
  const int32_t p = PathWords(e.path_bytes);
  out[bin::kStatus] = e.status;
  out[bin::kPathBytes] = e.path_bytes;
  StoreChars(e.path, out.subspan(bin::kPath, static_cast<size_t>(p)));
  const auto q = out.subspan(static_cast<size_t>(bin::kPath + p));
  q[bin::kInfoAddress] = e.info_address;
  q[bin::kUserHeaderWords] = e.user_header_words;
  q[bin::kDataWords] = e.data_words;
  q[bin::kLogicalCount] = e.logical_count;
  q[bin::kType] = e.type;
  StoreChars(e.tag, q.subspan(bin::kTag, 2));
  q[bin::kHash] = e.hash;
  q[bin::kPseudoInterval] = e.pseudo_interval;
}

void EncodeInfoBlock(const InfoBlock& b, std::span<int32_t> out) {
  const int32_t p = PathWords(b.path_bytes);
  out[info::kFlag] = kInfoFlag;
  out[info::kStatus] = b.status;
  out[info::kPathBytes] = b.path_bytes;
  StoreChars(b.path, out.subspan(info::kPath, static_cast<size_t>(p)));
  const auto q = out.subspan(static_cast<size_t>(info::kPath + p));
  const auto chars = [&](int at, std::string_view text, size_t n) {
    StoreChars(text.substr(0, n), q.subspan(at, 2), '\0');
  };
  q[info::kPassword] = 0;
  q[info::kPassword + 1] = 0;
  q[info::kDataAddress] = b.data_address;
  q[info::kDataWords] = b.data_words;
  q[info::kLogicalCount] = b.logical_count;
  q[info::kVersion] = b.version;
  chars(info::kProgram, b.program, info::kProgramChars);
  chars(info::kDate, b.date, info::kDateChars);
  chars(info::kTime, b.time, info::kTimeChars);
  StoreChars(b.tag.substr(0, info::kTagChars), q.subspan(info::kTag, 2));
  q[info::kType] = b.type;
  q[info::kCompression] = b.compression;
  q[info::kQualityFlag] = b.quality_flag;
  q[info::kInternalHeaderAddress] = b.internal_header_address;
  q[info::kInternalHeaderWords] = b.internal_header_words;
  q[info::kCompressionHeaderAddress] = b.compression_header_address;
  q[info::kCompressionHeaderWords] = b.compression_header_words;
  q[info::kUserHeaderAddress] = b.user_header_address;
  q[info::kUserHeaderWords] = b.user_header_words;
  q[info::kPrecision] = b.precision;
  q[info::kUnusedWords] = b.unused_words;
}

Status DecodeInfoBlock(std::span<const int32_t> words, InfoBlock* out) {
  if (words.size() < static_cast<size_t>(info::kPath)) return Status::kDamaged;
  if (words[info::kFlag] != kInfoFlag) return Status::kDamaged;
  const int32_t len = words[info::kPathBytes];
  if (len < 1 || len > kMaxPathBytes) return Status::kDamaged;
  InfoBlock b;
  b.address = out->address;
  b.path_bytes = len;
  if (words.size() < static_cast<size_t>(b.Words())) return Status::kDamaged;
  const int32_t p = PathWords(len);
  b.status = words[info::kStatus];
  b.path = LoadChars(words.subspan(info::kPath, static_cast<size_t>(p)), static_cast<size_t>(len));
  const auto q = words.subspan(static_cast<size_t>(info::kPath + p));
  const auto chars = [&](int at, int n) { return LoadChars(q.subspan(at, 2), n); };
  b.data_address = q[info::kDataAddress];
  b.data_words = q[info::kDataWords];
  b.logical_count = q[info::kLogicalCount];
  b.version = q[info::kVersion];
  b.program = chars(info::kProgram, info::kProgramChars);
  b.date = chars(info::kDate, info::kDateChars);
  b.time = chars(info::kTime, info::kTimeChars);
  b.tag = chars(info::kTag, info::kTagChars);
  b.type = q[info::kType];
  b.compression = q[info::kCompression];
  b.quality_flag = q[info::kQualityFlag];
  b.internal_header_address = q[info::kInternalHeaderAddress];
  b.internal_header_words = q[info::kInternalHeaderWords];
  b.compression_header_address = q[info::kCompressionHeaderAddress];
  b.compression_header_words = q[info::kCompressionHeaderWords];
  b.user_header_address = q[info::kUserHeaderAddress];
  b.user_header_words = q[info::kUserHeaderWords];
  b.precision = q[info::kPrecision];
  b.unused_words = q[info::kUnusedWords];
  *out = std::move(b);
  return Status::kOk;
}

Status CheckInfoAreas(const InfoBlock& b, int64_t limit_words) {
  const std::pair<int64_t, int64_t> areas[] = {
      {b.internal_header_address, b.internal_header_words},
      {b.compression_header_address, b.compression_header_words},
      {b.user_header_address, b.user_header_words},
      {b.data_address, b.data_words},
  };
  for (const auto& [address, length] : areas) {
    if (length < 0) return Status::kDamaged;
    if (length == 0) continue;
    if (address < kFirstAddress || address - 1 + length > limit_words) return Status::kDamaged;
  }
  return Status::kOk;
}

}  // namespace varnock::engine::dss6
