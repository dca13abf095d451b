#include "engine/dss7/key_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>

namespace varnock::engine::dss7 {
namespace {

// The order of std::stable_sort over one string per key, which FixedWidthKeys must match.
std::vector<size_t> ReferenceOrder(const std::vector<std::string>& keys) {
  std::vector<size_t> order(keys.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return keys[a] < keys[b]; });
  return order;
}

TEST(FixedWidthKeysTest, OrdersAsStableStringSortForAnyWidthAndAlphabet) {
  struct Case {
    size_t rows;
    size_t width;
    int alphabet;         // distinct byte values per position
    size_t fixed_prefix;  // leading bytes the same in every key
  };
  const Case cases[] = {{0, 5, 3, 0},        {1, 5, 3, 0},   {50, 0, 1, 0},  {200, 1, 4, 0},
                        {500, 6, 2, 2},      {500, 8, 3, 0}, {500, 9, 3, 4}, {2000, 30, 2, 20},
                        {2000, 40, 256, 10}, {300, 12, 1, 0}};
  std::mt19937 random(7);
  for (const Case& c : cases) {
    FixedWidthKeys keys(c.rows, c.width);
    std::vector<std::string> strings;
    for (size_t r = 0; r < c.rows; ++r) {
      std::string key(c.width, 'x');
      for (size_t j = c.fixed_prefix; j < c.width; ++j) {
        // Values near 0x7f and 0xff catch signed comparisons of bytes.
        key[j] = static_cast<char>(0x7e + static_cast<int>(random() % c.alphabet));
      }
      std::copy(key.begin(), key.end(), keys.Row(r));
      strings.push_back(key);
    }
    EXPECT_EQ(keys.StableOrder(), ReferenceOrder(strings))
        << c.rows << " rows of " << c.width << " bytes";
  }
}

TEST(FixedWidthKeysTest, PutColumnCutsAndPads) {
  char buffer[10];
  char* at = buffer;
  PutColumn(&at, "ABCDEF", 3);
  PutColumn(&at, "", 2);
  PutColumn(&at, "XY", 5);
  EXPECT_EQ(at, buffer + 10);
  EXPECT_EQ(std::string(buffer, 10), "ABC  XY   ");
}

}  // namespace
}  // namespace varnock::engine::dss7
