// Helpers for the tests of the file routines: file tables driven through the C ABI, records
// written straight through the file layer, and catalogs read back from their text files.
#ifndef VARNOCK_ENGINE_HECLIB_TABLE_TEST_SUPPORT_H_
#define VARNOCK_ENGINE_HECLIB_TABLE_TEST_SUPPORT_H_

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "engine/heclib/heclib_abi.h"
#include "engine/heclib/open_files.h"
#include "engine/heclib/options.h"

namespace varnock::engine::testing {

// A file table that closes itself.
struct Table {
  std::array<int32_t, 600> words{};
  Table() = default;
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
  ~Table() { ZCLOSE_(words.data()); }
  int32_t* data() { return words.data(); }
  int32_t Open(const std::string& name) {
    int32_t status = -99;
    ZOPEN_(words.data(), name.data(), static_cast<int32_t>(name.size()), &status);
    return status;
  }
  container::RecordFile& records() {
    container::RecordFile* f = FileOfTable(words.data(), nullptr);
    if (f == nullptr) throw std::runtime_error("table not open");
    return *f;
  }
  // The DSS-7 file layer of the table's file.
  dss7::DssFile& file() {
    dss7::DssFile* f = container::Dss7FileOf(records());
    if (f == nullptr) throw std::runtime_error("not a DSS-7 file");
    return *f;
  }
  // Number answer, or text answer when no number came back.
  static constexpr int32_t kNoNumber = -2147480000;
  std::string Ask(std::string_view keyword, int32_t number = kNoNumber) {
    std::string text(64, '#');
    ZINQIR_(words.data(), keyword.data(), static_cast<int32_t>(keyword.size()), text.data(),
            static_cast<int32_t>(text.size()), &number);
    if (number != kNoNumber) return std::to_string(number);
    return text.substr(0, text.find_last_not_of(' ') + 1);
  }
};

// A small record of the given type written through the file layer.
inline dss7::Status WriteRecord(Table& table, const std::string& path, int32_t type = 300,
                                int32_t values = 6) {
  std::vector<int32_t> header(4, 7), data(static_cast<std::size_t>(values));
  std::iota(data.begin(), data.end(), 1);
  dss7::RecordData record;
  record.type = type;
  record.areas[dss7::kInternalHeader] = header;
  record.areas[dss7::kValues1] = data;
  record.data_count = values;
  return table.file().Store(path, record);
}

inline std::vector<std::string> ReadLines(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);)
    lines.push_back(line);
  return lines;
}

// ZCAT onto a FORTRANOPEN'd unit; returns the file's lines and NORECS.
inline std::vector<std::string> CatalogLines(Table& table, const std::string& catalog, bool sorted,
                                             int32_t* norecs = nullptr) {
  const int32_t unit = 13, none = 0, abbreviated = 1, sort = sorted ? 1 : 0;
  EXPECT_EQ(FORTRANOPEN_(catalog.data(), static_cast<int32_t>(catalog.size()), &unit), 0);
  int32_t condensed = -1, count = -1;
  ZCAT_(table.data(), &unit, &none, &none, "      ", 6, &abbreviated, &sort, &condensed, &count);
  FORTRANCLOSE_(&unit);
  EXPECT_EQ(condensed, 0);
  if (norecs != nullptr) *norecs = count;
  return ReadLines(catalog);
}

// The pathnames of a catalog's record lines, in order.
inline std::vector<std::string> CatalogPaths(const std::vector<std::string>& lines) {
  std::vector<std::string> paths;
  for (std::size_t i = 10; i < lines.size(); ++i) {
    const std::size_t slash = lines[i].find('/');
    paths.push_back(slash == std::string::npos ? "" : lines[i].substr(slash));
  }
  return paths;
}

}  // namespace varnock::engine::testing

#endif  // VARNOCK_ENGINE_HECLIB_TABLE_TEST_SUPPORT_H_
