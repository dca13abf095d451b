#include "engine/heclib_abi.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "engine/dates.h"
#include "engine/dss_file_name.h"
#include "engine/options.h"

namespace varnock::engine {
namespace {

// size bytes that end right where an inaccessible page begins: one byte too far faults.
class Guarded {
 public:
  explicit Guarded(std::size_t size) : size_(size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    length_ = ((size + page - 1) / page + 1) * page;
    void* base = mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(base, MAP_FAILED);
    base_ = static_cast<char*>(base);
    EXPECT_EQ(mprotect(base_ + length_ - page, page, PROT_NONE), 0);
    data_ = base_ + length_ - page - size;
  }
  explicit Guarded(std::string_view text) : Guarded(text.size()) {
    std::memcpy(data_, text.data(), text.size());
  }
  ~Guarded() { munmap(base_, length_); }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  char* data() { return data_; }
  int32_t len() const { return static_cast<int32_t>(size_); }
  std::string_view view() const { return {data_, size_}; }

 private:
  char* base_ = nullptr;
  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t length_ = 0;
};

TEST(CAbi, ZeroAndNegativeLengthsTouchNothing) {
  for (int32_t len : {0, -1, INT32_MIN}) {
    Guarded none(0);  // any access faults
    int32_t julian = 5, error = 5;
    DATJUL_(none.data(), len, &julian, &error);
    EXPECT_EQ(error, -1);
    EXPECT_EQ(julian, kUndefinedJulian);

    const int32_t day = 100, style = 104;
    int32_t ndate = 99;
    JULDAT_(&day, &style, none.data(), len, &ndate);
    EXPECT_EQ(ndate, 0);

    int32_t b[6], e[6], l[6], status = 99;
    ZUPATH_(none.data(), len, b, e, l, &status);
    EXPECT_EQ(status, -1);
    for (int32_t check : {0, 7, 13}) {
      ZCHKPN_(none.data(), len, &check, &status);
      EXPECT_EQ(status, check < 7 ? -4 : -5);
    }

    int32_t parts[6] = {};
    ZGPNP_(none.data(), len, none.data(), len, none.data(), len, none.data(), len, none.data(), len,
           none.data(), len, none.data(), len, parts);
    EXPECT_EQ(parts[0], -10);

    int32_t number = 2;
    ZSET_(none.data(), len, none.data(), len, &number);
    ZINQIR_(nullptr, "MLEV", 4, none.data(), len, &number);
    EXPECT_EQ(number, 4);
    ZINQIR_(nullptr, none.data(), len, none.data(), len, &number);
    EXPECT_EQ(number, -1);

    const int32_t unit = 6;
    EXPECT_NE(FORTRANOPEN_(none.data(), len, &unit), 0);
    ZFVER_(none.data(), len, none.data(), len, &number);
    EXPECT_EQ(number, -1);
  }
}

TEST(CAbi, NullPointersAreTolerated) {
  DATJUL_(nullptr, 9, nullptr, nullptr);
  JULDAT_(nullptr, nullptr, nullptr, 5, nullptr);
  DATCLL_(nullptr, nullptr, nullptr, nullptr);
  ZUPATH_("/A/B/C/D/E/F/", 13, nullptr, nullptr, nullptr, nullptr);
  ZCHKPN_(nullptr, 13, nullptr, nullptr);
  ZGPNP_("A=X", 3, nullptr, 8, nullptr, 8, nullptr, 8, nullptr, 8, nullptr, 8, nullptr, 8, nullptr);
  ZSET_(nullptr, 4, nullptr, 6, nullptr);
  ZINQIR_(nullptr, nullptr, 4, nullptr, 10, nullptr);
  ZOPEN_(nullptr, nullptr, 0, nullptr);
  ZCLOSE_(nullptr);
  ZFVER_(nullptr, 0, nullptr, 4, nullptr);
  EXPECT_NE(FORTRANCLOSE_(nullptr), 0);
}

TEST(CAbi, UnterminatedBuffersEndingAtAGuardPage) {
  Guarded date("07MAR2001");
  int32_t julian = 0, error = 0;
  DATJUL_(date.data(), date.len(), &julian, &error);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(julian, 36956);

  Guarded out(9);
  int32_t ndate = 0;
  for (int32_t style : {104, 0}) {
    JULDAT_(&julian, &style, out.data(), out.len(), &ndate);
    EXPECT_EQ(ndate, 9);
  }
  EXPECT_EQ(out.view(), "March 7, ");

  Guarded path("/A/B/C/D/E/F/");
  int32_t b[6], e[6], l[6], status = 0;
  ZUPATH_(path.data(), path.len(), b, e, l, &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(e[5], 12);
  int32_t check = path.len();
  ZCHKPN_(path.data(), path.len(), &check, &status);
  EXPECT_EQ(status, 0);
  check = path.len() + 1;
  ZCHKPN_(path.data(), path.len(), &check, &status);
  EXPECT_EQ(status, -5);

  Guarded line("A=BASIN F=OBS");
  Guarded a(5), f(2), other(0);
  int32_t parts[6] = {};
  ZGPNP_(line.data(), line.len(), a.data(), a.len(), other.data(), 0, other.data(), 0, other.data(),
         0, other.data(), 0, f.data(), f.len(), parts);
  EXPECT_EQ(a.view(), "BASIN");
  EXPECT_EQ(f.view(), "OB");
  EXPECT_EQ(parts[5], 2);

  Guarded key("MLEV"), text("ON"), answer(3);
  int32_t number = 7;
  ZSET_(key.data(), key.len(), text.data(), text.len(), &number);
  ZINQIR_(nullptr, key.data(), key.len(), answer.data(), answer.len(), &number);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(answer.view(), "   ");
  ResetOptions();
}

std::string RandomText(std::mt19937& rng, std::size_t size) {
  static constexpr char kAlphabet[] = "/=, -0123456789ABCDEFJMNORUabc\t\0\x80\xff:.+";
  std::uniform_int_distribution<std::size_t> pick(0, sizeof(kAlphabet) - 2);
  std::uniform_int_distribution<int> any(0, 255);
  std::string text(size, ' ');
  for (char& c : text)
    c = (any(rng) < 200) ? kAlphabet[pick(rng)] : static_cast<char>(any(rng));
  return text;
}

TEST(CAbi, RandomBytesGiveStatusesNeverFaults) {
  std::mt19937 rng(20240611);
  std::uniform_int_distribution<int> size_of(0, 48);
  std::uniform_int_distribution<int32_t> any32(INT32_MIN, INT32_MAX);
  for (int round = 0; round < 4000; ++round) {
    Guarded in(RandomText(rng, static_cast<std::size_t>(size_of(rng))));

    int32_t julian = 0, error = 0;
    DATJUL_(in.data(), in.len(), &julian, &error);
    ASSERT_TRUE(error == 0 || (error == -1 && julian == kUndefinedJulian)) << in.view();

    Guarded out(static_cast<std::size_t>(size_of(rng)));
    const int32_t day = (round % 2 == 0) ? any32(rng) : any32(rng) % 3'000'000;
    const int32_t style = (round % 3 == 0) ? any32(rng) : any32(rng) % 130;
    int32_t ndate = -5;
    JULDAT_(&day, &style, out.data(), out.len(), &ndate);
    ASSERT_TRUE(ndate >= 0 && ndate <= out.len()) << day << " " << style;

    const int32_t minutes = any32(rng);
    int32_t day_out = 0, minute_out = 0;
    DATCLL_(&day, &minutes, &day_out, &minute_out);
    ASSERT_TRUE(minute_out >= 1 && minute_out <= 1440);

    int32_t b[6], e[6], l[6], status = 99;
    ZUPATH_(in.data(), in.len(), b, e, l, &status);
    ASSERT_TRUE(status == 0 || status == -1);
    for (int i = 0; status == 0 && i < 6; ++i) {
      ASSERT_TRUE(b[i] >= 1 && e[i] <= in.len() && l[i] >= 0);
    }

    const int32_t check = in.len() + (round % 7) - 3;
    ZCHKPN_(in.data(), in.len(), &check, &status);
    ASSERT_TRUE((status >= -6 && status <= 0) || status == 6) << status;

    Guarded field(static_cast<std::size_t>(round % 9));
    int32_t parts[6] = {0, -2, 0, 0, 0, 0};
    ZGPNP_(in.data(), in.len(), field.data(), field.len(), field.data(), field.len(), field.data(),
           field.len(), field.data(), field.len(), field.data(), field.len(), field.data(),
           field.len(), parts);
    for (int32_t p : parts)
      ASSERT_TRUE(p == -10 || p == -2 || p == -1 || (p >= 0 && p <= 8));

    int32_t number = any32(rng);
    ZSET_(in.data(), std::min(in.len(), 5), in.data(), in.len(), &number);
    int32_t table[600] = {};
    table[0] = round % 2 == 0 ? kOpenTableMark : 0;
    ZINQIR_(table, in.data(), in.len(), out.data(), out.len(), &number);
  }
  ResetOptions();
}

TEST(CAbi, FilePlaceholdersAndTheNameRule) {
  int32_t table[600] = {};
  table[0] = kOpenTableMark;
  table[1] = 77;
  int32_t status = 0;
  ZOPEN_(table, "x.dss", 5, &status);
  EXPECT_EQ(status, -1);
  EXPECT_EQ(table[0], 0);
  table[0] = kOpenTableMark;
  ZCLOSE_(table);
  EXPECT_EQ(table[0], 0);
  EXPECT_EQ(table[1], 77);

  namespace fs = std::filesystem;
  std::string dir = (fs::temp_directory_path() / "varnock-abi-XXXXXX").string();
  ASSERT_NE(mkdtemp(dir.data()), nullptr);
  std::ofstream(dir + "/data.dss") << "not dss";
  char version[4] = {'#', '#', '#', '#'};
  int32_t number = 0;
  for (const std::string& name : {dir + "/data", "  \"" + dir + "/data\"  ", dir + "/data.dss"}) {
    ZFVER_(name.data(), static_cast<int32_t>(name.size()), version, 4, &number);
    EXPECT_EQ(number, -3) << name;
    EXPECT_EQ(std::string_view(version, 4), "    ");
  }
  const std::string missing = dir + "/data.db";
  ZFVER_(missing.data(), static_cast<int32_t>(missing.size()), version, 4, &number);
  EXPECT_EQ(number, -1);
  fs::remove_all(dir);

  std::string out;
  EXPECT_TRUE(NormaliseDssFileName("data", &out));
  EXPECT_EQ(out, "data.dss");
  EXPECT_TRUE(NormaliseDssFileName("  data.db ", &out));
  EXPECT_EQ(out, "data.db.dss");
  EXPECT_TRUE(NormaliseDssFileName("\"my data.DSS\"", &out));
  EXPECT_EQ(out, "my data.DSS");
  EXPECT_TRUE(NormaliseDssFileName(".dss", &out));
  EXPECT_EQ(out, ".dss");
  EXPECT_FALSE(NormaliseDssFileName("   ", &out));
  EXPECT_FALSE(NormaliseDssFileName("\" \"", &out));
  EXPECT_EQ(out, "");
  const std::string long_name = "/" + std::string(99, 'd');
  EXPECT_TRUE(NormaliseDssFileName(long_name, &out));
  EXPECT_EQ(out, long_name + ".dss");
  EXPECT_EQ(RecordedFileName(out), out.substr(0, 64));
}

}  // namespace
}  // namespace varnock::engine
