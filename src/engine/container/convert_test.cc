#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

#include "engine/container/record_writer.h"
#include "engine/dss6/intervals.h"
#include "engine/dss6/reader.h"
#include "engine/dss7/hash.h"
#include "engine/dss7/test_support.h"
#include "tests/support/fixture_path.h"

namespace varnock::engine::container {
namespace {

using Storage = std::shared_ptr<dss7::MemoryFileIO::Storage>;

// A dump's records by upper-cased pathname, with every missing value (-901, -902, DSS-7's
// undefined) written as "missing": what a conversion must keep.
std::map<std::string, std::string> Comparable(const std::string& dump) {
  std::map<std::string, std::string> out;
  std::istringstream in(dump);
  std::string line, path;
  while (std::getline(in, line)) {
    if (line.rfind("record ", 0) == 0) {
      path = line.substr(7);
      for (char& c : path)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
      // One spelling per interval: "1MONTH" and "1MON" name the same one.
      std::array<std::string_view, 6> parts;
      const dss6::Interval6* iv = nullptr;
      if (dss7::SplitParts(path, &parts) && (iv = dss6::FindRegular(parts[4])) != nullptr) {
        path = "/" + std::string(parts[0]) + "/" + std::string(parts[1]) + "/" +
               std::string(parts[2]) + "/" + std::string(parts[3]) + "/" + std::string(iv->name) +
               "/" + std::string(parts[5]) + "/";
      }
      continue;
    }
    if (path.empty() || line == "end") continue;
    if (line.size() > 20 && line[10] == 'T') {
      const double v = std::strtod(line.c_str() + 20, nullptr);
      if (v == -901.0 || v == -902.0 || v < -3.4e38) line = line.substr(0, 20) + "missing";
    }
    out[path] += line + "\n";
  }
  return out;
}

std::string Dump(Storage storage) {
  std::unique_ptr<RecordReader> reader;
  EXPECT_EQ(OpenRecordReaderIO(std::make_unique<dss7::MemoryFileIO>(std::move(storage)), &reader),
            Status::kOk);
  std::string dump;
  if (reader) {
    EXPECT_EQ(RenderDump(*reader, &dump), Status::kOk);
  }
  return dump;
}

Storage ConvertTo(int version, Storage source) {
  std::unique_ptr<RecordReader> reader;
  EXPECT_EQ(OpenRecordReaderIO(std::make_unique<dss7::MemoryFileIO>(source), &reader), Status::kOk);
  auto target = dss7::MemoryFileIO::NewStorage();
  ConvertSummary summary;
  if (version == 6) {
    std::unique_ptr<dss6::Dss6File> file;
    EXPECT_EQ(dss6::Dss6File::CreateIO(std::make_unique<dss7::MemoryFileIO>(target), 6, {}, &file),
              Status::kOk);
    EXPECT_EQ(ConvertRecords(*reader, *dss6::MakeRecordWriter(*file), &summary), Status::kOk);
  } else {
    std::unique_ptr<dss7::DssFile> file;
    EXPECT_EQ(dss7::DssFile::CreateIO(std::make_unique<dss7::MemoryFileIO>(target), {}, {}, &file),
              Status::kOk);
    EXPECT_EQ(ConvertRecords(*reader, *MakeDss7RecordWriter(*file), &summary), Status::kOk);
  }
  for (const auto& [path, why] : summary.skipped)
    ADD_FAILURE() << "not converted: " << path << ": " << why;
  EXPECT_EQ(summary.converted, 27);
  return target;
}

void ExpectSameRecords(const std::string& got, const std::string& want) {
  const auto a = Comparable(got);
  const auto b = Comparable(want);
  EXPECT_EQ(a.size(), b.size());
  for (const auto& [path, text] : b) {
    const auto it = a.find(path);
    if (it == a.end()) {
      ADD_FAILURE() << "missing after conversion: " << path;
    } else if (it->second != text) {
      ADD_FAILURE() << "differs after conversion: " << path << "\n--- got\n"
                    << it->second.substr(0, 400) << "\n--- want\n"
                    << text.substr(0, 400);
    }
  }
}

TEST(Convert, Fixture6ToDss7KeepsEveryRecord) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture6.dss");
  const auto source = dss7::testing::LoadStorage(path);
  const auto converted = ConvertTo(7, source);
  const std::string dump = Dump(converted);
  EXPECT_NE(dump.find("file_version 7"), std::string::npos);
  ExpectSameRecords(dump, Dump(source));
}

TEST(Convert, Fixture7ToDss6AndBackKeepsEveryRecord) {
  VARNOCK_REQUIRE_FIXTURE(path, "fixture7.dss");
  const auto source = dss7::testing::LoadStorage(path);
  const auto six = ConvertTo(6, source);
  const std::string dump6 = Dump(six);
  EXPECT_NE(dump6.find("file_version 6"), std::string::npos);
  ExpectSameRecords(dump6, Dump(source));
  ExpectSameRecords(Dump(ConvertTo(7, six)), Dump(source));
}

}  // namespace
}  // namespace varnock::engine::container
