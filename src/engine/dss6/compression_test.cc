#include "engine/dss6/compression.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace varnock::engine::dss6 {
namespace {

namespace cz = compression;

// A compression header as HEC lays it out, for `n` values, with repeat bits when `bits` is
// given (one per value, true = same as the value before).
std::vector<int32_t> Header(int scheme, int32_t n, const std::vector<bool>& bits = {},
                            int delta_bytes = 0, int power = 0, float base = 0.0f) {
  const size_t w = (static_cast<size_t>(n) + 31) / 32;
  const size_t words = cz::kHeaderWords + (bits.empty() ? 0 : w);
  std::vector<uint8_t> b(words * 4, 0);
  b[cz::kMarkC] = 'C';
  b[cz::kFormatVersion] = cz::kVersion;
  b[cz::kFirstSectionLength] = 8;
  b[cz::kScheme] = static_cast<uint8_t>(scheme);
  std::memcpy(&b[cz::kValueCount], &n, 4);
  b[cz::kMarkD] = 'D';
  b[cz::kMarkD + 1] = cz::kVersion;
  b[cz::kDeltaSectionLength] = 13;
  b[cz::kDeltaBytes] = static_cast<uint8_t>(delta_bytes);
  b[cz::kDeltaPower] = static_cast<uint8_t>(power + cz::kPowerBias);
  std::memcpy(&b[cz::kDeltaBase], &base, 4);
  b[cz::kMarkS] = 'S';
  b[cz::kMarkS + 1] = cz::kVersion;
  b[cz::kSigSectionLength] = 4;
  b[cz::kMarkR] = 'R';
  b[cz::kMarkR + 1] = cz::kVersion;
  if (bits.empty()) {
    b[cz::kRepeatLengthLow] = cz::kPlainRepeatLength;
    b[cz::kRepeatBits] = 'E';
  } else {
    const size_t len = 4 * w + 8;
    b[cz::kRepeatLengthLow] = static_cast<uint8_t>(len % 256);
    b[cz::kRepeatLengthHigh] = static_cast<uint8_t>(len / 256);
    for (size_t i = 0; i < bits.size(); ++i)
      if (bits[i]) b[cz::kRepeatBits + i / 8] |= static_cast<uint8_t>(1u << (i % 8));
    b[cz::kRepeatBits + 4 * w + 1] = 'E';
  }
  std::vector<int32_t> out(words);
  std::memcpy(out.data(), b.data(), b.size());
  return out;
}

std::vector<int32_t> Pack(const std::vector<uint32_t>& codes, int bytes) {
  std::vector<uint8_t> b(codes.size() * static_cast<size_t>(bytes));
  for (size_t i = 0; i < codes.size(); ++i)
    for (int k = 0; k < bytes; ++k)
      b[i * static_cast<size_t>(bytes) + static_cast<size_t>(k)] =
          static_cast<uint8_t>(codes[i] >> (8 * k));
  std::vector<int32_t> out((b.size() + 3) / 4, 0);
  std::memcpy(out.data(), b.data(), b.size());
  return out;
}

std::vector<int32_t> Floats(const std::vector<float>& v) {
  std::vector<int32_t> out(v.size());
  std::memcpy(out.data(), v.data(), v.size() * 4);
  return out;
}

TEST(Dss6Compression, EverySchemeExpands) {
  const std::vector<bool> bits = {false, true, true, false, true, false};
  struct Case {
    const char* what;
    std::vector<int32_t> header;
    std::vector<int32_t> data;
    std::vector<float> want;
  };
  const Case cases[] = {
      {"1 repeat",
       Header(cz::kRepeat, 6, bits),
       Floats({1.5f, 2.5f, -901.0f}),
       {1.5f, 1.5f, 1.5f, 2.5f, 2.5f, -901.0f}},
      {"2 delta, 1 byte, p=-1",
       Header(cz::kDelta, 4, {}, 1, -1, 100.0f),
       Pack({0, 5, 255, 254}, 1),
       {100.0f, 100.5f, -901.0f, 125.4f}},
      {"3 repeat + delta, 2 bytes, p=2",
       Header(cz::kRepeatDelta, 6, bits, 2, 2, -300.0f),
       Pack({3, 65535, 1}, 2),
       {0.0f, 0.0f, 0.0f, -901.0f, -901.0f, -200.0f}},
      {"4 significant digits",
       Header(cz::kSignificant, 5),
       Pack({1001, 49029, 1004, 15 * 1024 + 123, 1003}, 2),
       {0.0f, -901.0f, 1.0e37f, 123.0f, -1.0e-37f}},
      {"5 repeat + significant",
       Header(cz::kRepeatSignificant, 6, bits),
       Pack({1001, 16 * 1024 + 250, 14 * 1024 + 5}, 2),
       {0.0f, 0.0f, 0.0f, 2500.0f, 2500.0f, 0.5f}},
  };
  for (const auto& c : cases) {
    std::vector<float> out(c.want.size());
    ASSERT_EQ(Decompress(c.header, c.data, out), Status::kOk) << c.what;
    for (size_t i = 0; i < out.size(); ++i)
      EXPECT_EQ(out[i], c.want[i]) << c.what << " value " << i;
  }
}

TEST(Dss6Compression, PowerOfTenIsHecsSinglePrecisionProduct) {
  for (int k = -20; k <= 20; ++k) {
    const float t = HecPowerOfTen(k);
    EXPECT_NEAR(std::log10(static_cast<double>(t)), k, 1e-6) << k;
  }
  // For k = -13 HEC's product differs from the correctly rounded power in its last bit.
  EXPECT_NE(HecPowerOfTen(-13), static_cast<float>(1e-13));
}

TEST(Dss6Compression, DamagedHeadersAreRefused) {
  std::vector<float> out(6);
  const auto good = Header(cz::kRepeat, 6, {false, true, true, false, true, false});
  const auto data = Floats({1, 2, 3});
  ASSERT_EQ(Decompress(good, data, out), Status::kOk);
  struct Case {
    const char* what;
    size_t byte;
    uint8_t value;
  };
  for (const Case c : {Case{"marker C", 0, 'X'}, Case{"version", 1, 15}, Case{"scheme 0", 3, 0},
                       Case{"scheme 6", 3, 6}, Case{"count", 4, 7}, Case{"marker R", 25, 0},
                       Case{"repeat length", 27, 200}, Case{"end marker", 37, 0}}) {
    auto h = good;
    auto* bytes = reinterpret_cast<uint8_t*>(h.data());
    bytes[c.byte] = c.value;
    EXPECT_EQ(Decompress(h, data, out), Status::kDamaged) << c.what;
  }
  EXPECT_EQ(Decompress(std::span(good).first(8), data, out), Status::kDamaged);
  EXPECT_EQ(Decompress(good, std::span(data).first(2), out), Status::kDamaged);  // too few
  std::vector<float> wrong(5);
  EXPECT_EQ(Decompress(good, data, wrong), Status::kDamaged);
  const auto bad_width = Header(cz::kDelta, 4, {}, 3, 0, 0.0f);
  std::vector<float> four(4);
  EXPECT_EQ(Decompress(bad_width, Pack({1, 2, 3, 4}, 3), four), Status::kDamaged);
}

}  // namespace
}  // namespace varnock::engine::dss6
