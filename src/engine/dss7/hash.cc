#include "engine/dss7/hash.h"

#include "engine/dss7/layout.h"

namespace varnock::engine::dss7 {

int64_t BinHash(std::string_view path) {
  uint64_t h = 0;
  for (char c : path)
    h = 31 * h + HashByte(static_cast<uint8_t>(c));
  return h == 0 ? 1 : static_cast<int64_t>(h);
}

int TableHashBits(int64_t table_size) {
  if (table_size < 2) return 0;
  int bits = 0;
  while ((int64_t{1} << bits) < table_size)
    ++bits;
  return bits;  // exact power 2^k gives k; anything else floor(log2) + 1
}

int32_t TableHash(std::string_view path, int64_t table_size) {
  const int ibit = TableHashBits(table_size);
  if (ibit == 0) return 0;
  const uint64_t x = XorBitGroups(path, ibit, HashByte);
  return static_cast<int32_t>(x % static_cast<uint64_t>(table_size));
}

bool SamePath(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    unsigned char x = static_cast<unsigned char>(a[i]);
    unsigned char y = static_cast<unsigned char>(b[i]);
    if (x >= 'a' && x <= 'z') x = static_cast<unsigned char>(x - 'a' + 'A');
    if (y >= 'a' && y <= 'z') y = static_cast<unsigned char>(y - 'a' + 'A');
    if (x != y) return false;
  }
  return true;
}

bool SplitParts(std::string_view path, std::array<std::string_view, 6>* parts) {
  if (path.size() < 7 || path.front() != '/' || path.back() != '/') return false;
  size_t start = 1;
  for (int p = 0; p < 6; ++p) {
    const size_t slash = path.find('/', start);
    if (slash == std::string_view::npos) return false;
    (*parts)[p] = path.substr(start, slash - start);
    start = slash + 1;
  }
  return start == path.size();
}

bool SplitPartLengths(std::string_view path, std::array<int64_t, 6>* lengths) {
  std::array<std::string_view, 6> parts;
  if (!SplitParts(path, &parts)) return false;
  for (int p = 0; p < 6; ++p)
    (*lengths)[p] = static_cast<int64_t>(parts[p].size());
  return true;
}

bool IsCollectionPath(std::string_view path) {
  std::array<std::string_view, 6> parts;
  if (static_cast<int64_t>(path.size()) < kMinCollectionPathBytes) return false;
  if (!SplitParts(path, &parts)) return false;
  const std::string_view f = parts[5];
  return f.size() >= 2 && (f[0] == 'C' || f[0] == 'c') && f[1] == ':' &&
         f.find('|') != std::string_view::npos;
}

bool IsStorablePath(std::string_view path) {
  if (path.empty() || static_cast<int64_t>(path.size()) > kMaxPathBytes) return false;
  for (char c : path) {
    const auto b = static_cast<unsigned char>(c);
    if (b < 32 || b == 127) return false;
  }
  std::array<int64_t, 6> lengths;
  if (!SplitPartLengths(path, &lengths)) return false;
  for (int64_t n : lengths) {
    if (n > kMaxPartBytes) return false;
  }
  return true;
}

}  // namespace varnock::engine::dss7
