#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <string>

#include "engine/container/record_reader.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::container {
namespace {

std::string ReadAll(const std::string& path) {
  const bool gz = path.size() > 3 && path.substr(path.size() - 3) == ".gz";
  const std::string cmd = (gz ? "zcat '" : "cat '") + path + "'";
  std::string out;
  FILE* pipe = ::popen(cmd.c_str(), "r");
  if (pipe == nullptr) return out;
  char buffer[65536];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
    out.append(buffer, n);
  ::pclose(pipe);
  return out;
}

// Byte-for-byte equality; on a difference, the first differing line with the record it is in.
void ExpectSameDump(const std::string& got, const std::string& want) {
  if (got == want) return;
  std::istringstream a(got), b(want);
  std::string la, lb, record;
  for (int line = 1;; ++line) {
    const bool ha = static_cast<bool>(std::getline(a, la));
    const bool hb = static_cast<bool>(std::getline(b, lb));
    if (!ha && !hb) break;
    if (hb && lb.rfind("record ", 0) == 0) record = lb;
    if (ha != hb || la != lb) {
      ADD_FAILURE() << "dumps differ at line " << line << " (" << record << ")\n  ours:      '"
                    << (ha ? la : "<end>") << "'\n  reference: '" << (hb ? lb : "<end>") << "'";
      return;
    }
  }
  ADD_FAILURE() << "dumps differ in their line ends";
}

void CheckDump(const std::string& dss, const std::string& dump, int major) {
  std::unique_ptr<RecordReader> reader;
  ASSERT_EQ(OpenRecordReader(dss, &reader), Status::kOk) << dss;
  EXPECT_EQ(reader->file().MajorVersion(), major);
  std::string ours;
  ASSERT_EQ(RenderDump(*reader, &ours), Status::kOk);
  const std::string reference = ReadAll(dump);
  ASSERT_FALSE(reference.empty()) << dump;
  ExpectSameDump(ours, reference);
}

TEST(CanonicalDump, Fixture6IsByteIdentical) {
  VARNOCK_REQUIRE_FIXTURE(dss, "fixture6.dss");
  VARNOCK_REQUIRE_FIXTURE(dump, "fixture6.dump.txt");
  CheckDump(dss, dump, 6);
}

TEST(CanonicalDump, Sample6IsByteIdentical) {
  VARNOCK_REQUIRE_FIXTURE(dss, "sample6.dss");
  VARNOCK_REQUIRE_FIXTURE(dump, "sample6.dss.dump.txt.gz");
  CheckDump(dss, dump, 6);
}

TEST(CanonicalDump, Fixture7IsByteIdenticalThroughTheSameInterface) {
  VARNOCK_REQUIRE_FIXTURE(dss, "fixture7.dss");
  VARNOCK_REQUIRE_FIXTURE(dump, "fixture7.dump.txt");
  CheckDump(dss, dump, 7);
}

// The streamed dump arrives in bounded pieces that join to the same text, and stops at the
// first piece the sink refuses.
TEST(CanonicalDump, StreamsInBoundedPieces) {
  VARNOCK_REQUIRE_FIXTURE(dss, "sample6.dss");
  std::unique_ptr<RecordReader> reader;
  ASSERT_EQ(OpenRecordReader(dss, &reader), Status::kOk);
  std::string whole;
  ASSERT_EQ(RenderDump(*reader, &whole), Status::kOk);
  ASSERT_GT(whole.size(), size_t{3} << 20);

  std::string joined;
  size_t pieces = 0, largest = 0;
  DumpCounts counts;
  const auto keep = [&](std::string_view piece) {
    joined.append(piece);
    largest = std::max(largest, piece.size());
    ++pieces;
    return true;
  };
  ASSERT_EQ(StreamDump(*reader, {}, keep, &counts), Status::kOk);
  EXPECT_TRUE(joined == whole);
  EXPECT_GE(pieces, 3u);
  EXPECT_LT(largest, size_t{2} << 20);

  size_t offered = 0;
  const auto refuse_second = [&](std::string_view) { return ++offered < 2; };
  EXPECT_EQ(StreamDump(*reader, {}, refuse_second, &counts), Status::kWriteError);
  EXPECT_EQ(offered, 2u);
}

}  // namespace
}  // namespace varnock::engine::container
