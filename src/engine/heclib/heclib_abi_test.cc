#include "engine/heclib/heclib_abi.h"

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

#include "engine/heclib/options.h"
#include "engine/rules/dates.h"
#include "engine/rules/dss_file_name.h"

namespace varnock::engine {
namespace {

// Bytes that end right where an inaccessible page begins: one byte too far faults.
class Guarded {
 public:
  explicit Guarded(std::string_view text) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    length_ = ((text.size() + page - 1) / page + 1) * page;
    base_ = static_cast<char*>(
        mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    EXPECT_EQ(mprotect(base_ + length_ - page, page, PROT_NONE), 0);
    data_ = std::string_view(base_ + length_ - page - text.size(), text.size());
    std::memcpy(data(), text.data(), text.size());
  }
  explicit Guarded(std::size_t size) : Guarded(std::string(size, '#')) {}
  ~Guarded() { munmap(base_, length_); }

  char* data() { return const_cast<char*>(data_.data()); }
  int32_t len() const { return static_cast<int32_t>(data_.size()); }
  std::string_view view() const { return data_; }

 private:
  char* base_;
  std::size_t length_;
  std::string_view data_;
};

TEST(CAbi, ZeroAndNegativeLengthsTouchNothing) {
  Guarded none(std::size_t{0});  // any access faults
  char* p = none.data();
  for (int32_t len : {0, -1, INT32_MIN}) {
    int32_t julian = 5, error = 5, ndate = 9, status = 9, b[6], e[6], l[6], parts[6] = {};
    DATJUL_(p, len, &julian, &error);
    EXPECT_TRUE(error == -1 && julian == kUndefinedJulian);
    const int32_t day = 100, style = 104, unit = 6, seven = 7;
    JULDAT_(&day, &style, p, len, &ndate);
    EXPECT_EQ(ndate, 0);
    ZUPATH_(p, len, b, e, l, &status);
    EXPECT_EQ(status, -1);
    ZCHKPN_(p, len, &seven, &status);
    EXPECT_EQ(status, -5);
    ZGPNP_(p, len, p, len, p, len, p, len, p, len, p, len, p, len, parts);
    EXPECT_EQ(parts[0], -10);
    int32_t number = 2;
    ZSET_(p, len, p, len, &number);
    ZINQIR_(nullptr, "MLEV", 4, p, len, &number);
    EXPECT_EQ(number, 4);
    EXPECT_NE(FORTRANOPEN_(p, len, &unit), 0);
    ZFVER_(p, len, p, len, &number);
    EXPECT_EQ(number, -1);
  }
  // Null pointers count as empty or 0, or are not written.
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
  EXPECT_NE(FORTRANCLOSE_(nullptr), 0);
}

TEST(CAbi, UnterminatedBuffersEndingAtAGuardPage) {
  Guarded date("07MAR2001"), out(std::size_t{9});
  int32_t julian = 0, error = 0, ndate = 0;
  DATJUL_(date.data(), date.len(), &julian, &error);
  EXPECT_EQ(julian, 36956);
  for (int32_t style : {104, 0}) {
    JULDAT_(&julian, &style, out.data(), out.len(), &ndate);
    EXPECT_EQ(ndate, 9);
  }
  EXPECT_EQ(out.view(), "March 7, ");

  Guarded line("A=BASIN F=OBS"), a(std::size_t{5}), f(std::size_t{2}), no(std::size_t{0});
  int32_t parts[6] = {};
  ZGPNP_(line.data(), line.len(), a.data(), a.len(), no.data(), 0, no.data(), 0, no.data(), 0,
         no.data(), 0, f.data(), f.len(), parts);
  EXPECT_TRUE(a.view() == "BASIN" && f.view() == "OB" && parts[5] == 2);

  Guarded key("MLEV"), text("ON"), answer(std::size_t{3});
  int32_t number = 7;
  ZSET_(key.data(), key.len(), text.data(), text.len(), &number);
  ZINQIR_(nullptr, key.data(), key.len(), answer.data(), answer.len(), &number);
  EXPECT_TRUE(number == 7 && answer.view() == "   ");
  ResetOptions();
}

TEST(CAbi, RandomBytesGiveStatusesNeverFaults) {
  static constexpr char kAlphabet[] = "/=, -0123456789ABCDEFJMNORUabc\t\0\x80\xff:.+";
  std::mt19937 rng(20240611);
  std::uniform_int_distribution<int32_t> any32(INT32_MIN, INT32_MAX);
  auto below = [&](int32_t n) { return static_cast<int32_t>(rng() % static_cast<uint32_t>(n)); };
  for (int round = 0; round < 4000; ++round) {
    std::string bytes(static_cast<std::size_t>(below(49)), ' ');
    for (char& c : bytes)
      c = below(5) > 0 ? kAlphabet[below(sizeof(kAlphabet) - 1)] : char(rng());
    Guarded in(bytes), out(static_cast<std::size_t>(below(49))), field(std::size_t(round % 9));

    int32_t julian = 0, error = 0;
    DATJUL_(in.data(), in.len(), &julian, &error);
    ASSERT_TRUE(error == 0 || (error == -1 && julian == kUndefinedJulian)) << in.view();

    const int32_t day = round % 2 ? any32(rng) : any32(rng) % 3'000'000;
    const int32_t style = round % 3 ? any32(rng) % 130 : any32(rng);
    int32_t ndate = -5, day_out = 0, minute_out = 0;
    JULDAT_(&day, &style, out.data(), out.len(), &ndate);
    ASSERT_TRUE(ndate >= 0 && ndate <= out.len()) << day << " " << style;
    DATCLL_(&day, &style, &day_out, &minute_out);
    ASSERT_TRUE(minute_out >= 1 && minute_out <= 1440);

    int32_t b[6], e[6], l[6], status = 99;
    ZUPATH_(in.data(), in.len(), b, e, l, &status);
    ASSERT_TRUE(status == 0 || status == -1);
    for (int i = 0; status == 0 && i < 6; ++i)
      ASSERT_TRUE(b[i] >= 1 && e[i] <= in.len());
    const int32_t check = in.len() + (round % 7) - 3;
    ZCHKPN_(in.data(), in.len(), &check, &status);
    ASSERT_TRUE((status >= -6 && status <= 0) || status == 6) << status;

    int32_t parts[6] = {0, -2, 0, 0, 0, 0};
    char* fp = field.data();
    const int32_t fl = field.len();
    ZGPNP_(in.data(), in.len(), fp, fl, fp, fl, fp, fl, fp, fl, fp, fl, fp, fl, parts);
    for (int32_t n : parts)
      ASSERT_TRUE(n == -10 || n == -2 || n == -1 || (n >= 0 && n <= fl));

    int32_t number = any32(rng), table[600] = {};
    table[0] = round % 2 ? kOpenTableMark : 0;
    ZSET_(in.data(), std::min(in.len(), 5), in.data(), in.len(), &number);
    ZINQIR_(table, in.data(), in.len(), out.data(), out.len(), &number);
  }
  ResetOptions();
}

TEST(CAbi, FileRoutinesWithoutAFileAndTheNameRule) {
  int32_t table[600] = {kOpenTableMark, 77}, status = 0, number = 0;
  ZOPEN_(table, "   ", 3, &status);
  EXPECT_TRUE(status == -10 && table[0] == 0);
  table[0] = kOpenTableMark;
  table[1] = 77;
  ZCLOSE_(table);  // never opened: only the open mark goes
  EXPECT_TRUE(table[0] == 0 && table[1] == 77);

  std::string dir = (std::filesystem::temp_directory_path() / "varnock-abi-XXXXXX").string();
  ASSERT_NE(mkdtemp(dir.data()), nullptr);
  std::ofstream(dir + "/data.dss") << "not dss";
  char version[4] = {'#', '#', '#', '#'};
  for (const std::string& name : {dir + "/data", "  \"" + dir + "/data\"  ", dir + "/data.db"}) {
    ZFVER_(name.data(), static_cast<int32_t>(name.size()), version, 4, &number);
    EXPECT_EQ(number, name.ends_with(".db") ? -1 : -3) << name;
    EXPECT_EQ(std::string_view(version, 4), "    ");
  }
  std::filesystem::remove_all(dir);

  std::string out;
  const std::string long_name = "/" + std::string(99, 'd');
  for (auto [in, want] : {std::pair<std::string, std::string>{"data", "data.dss"},
                          {"  data.db ", "data.db.dss"},
                          {"\"my data.DSS\"", "my data.DSS"},
                          {".dss", ".dss"},
                          {long_name, long_name + ".dss"}}) {
    EXPECT_TRUE(NormaliseDssFileName(in, &out) && out == want) << in;
  }
  EXPECT_EQ(RecordedFileName(out), out.substr(0, 64));
  EXPECT_FALSE(NormaliseDssFileName("   ", &out));
  EXPECT_FALSE(NormaliseDssFileName("\" \"", &out));
  EXPECT_EQ(out, "");
}

}  // namespace
}  // namespace varnock::engine
