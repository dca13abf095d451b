#include "engine/catalog_file.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <numeric>
#include <vector>

#include "engine/dates.h"
#include "engine/dss7/dss_file.h"
#include "engine/dss_file_name.h"
#include "engine/interval_names.h"
#include "engine/message_units.h"
#include "engine/open_files.h"
#include "engine/options.h"
#include "engine/pathname_rules.h"

namespace varnock::engine {
namespace {

constexpr std::size_t kTabColumn = 50;   // Fortran T50: the text before it is cut or padded
constexpr int32_t kHeaderDateStyle = 1;  // "Mar 7, 2001"
constexpr std::string_view kSortOrder = "ABCFED";

// Bytes compared as if the shorter text were padded with blanks.
int ComparePadded(std::string_view a, std::string_view b) {
  const std::size_t n = std::max(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i) {
    const auto x = static_cast<unsigned char>(i < a.size() ? a[i] : ' ');
    const auto y = static_cast<unsigned char>(i < b.size() ? b[i] : ' ');
    if (x != y) return x < y ? -1 : 1;
  }
  return 0;
}

template <typename T>
int CompareValues(T a, T b) {
  return a < b ? -1 : (b < a ? 1 : 0);
}

// For time series a known interval or date stands in for the text ("1DAY" and "1Day" tie).
int CompareE(const CatalogSortKey& a, const CatalogSortKey& b) {
  if (a.series && b.series) {
    if (int c = CompareValues(a.e_class, b.e_class); c != 0) return c;
    if (a.e_class != 2) return CompareValues(a.e_value, b.e_value);
  }
  return ComparePadded(a.parts[4], b.parts[4]);
}

int CompareD(const CatalogSortKey& a, const CatalogSortKey& b) {
  if (a.series && b.series) {
    if (int c = CompareValues(!a.d_is_date, !b.d_is_date); c != 0) return c;
    if (a.d_is_date) return CompareValues(a.d_julian, b.d_julian);
  }
  return ComparePadded(a.parts[3], b.parts[3]);
}

std::string JulianText(int32_t julian, int32_t style) {
  char text[32];
  const int32_t n = JulianToDate(julian, style, text);
  return std::string(
      TrimTrailingBlanks(std::string_view(text, static_cast<std::size_t>(std::clamp(n, 0, 32)))));
}

std::string AtColumn50(std::string first, std::string_view second) {
  first.resize(kTabColumn - 1, ' ');
  first.append(second);
  return first;
}

void Message(int32_t level, const std::string& text) {
  if (MessageWanted(level)) EmitMessage(level, text);
}

}  // namespace

CatalogSortKey MakeCatalogSortKey(std::string_view path, int32_t type, std::size_t position) {
  CatalogSortKey key;
  key.position = position;
  PathnameParts parts{};
  if (SplitPathname(path, &parts) != 0) {
    key.parts[0] = path;
    return key;
  }
  for (int i = 0; i < 6; ++i) {
    if (parts.length[i] > 0) {
      key.parts[i] = path.substr(static_cast<std::size_t>(parts.begin[i] - 1),
                                 static_cast<std::size_t>(parts.length[i]));
    }
  }
  key.series = type >= 100 && type < 200;
  if (!key.series) return key;
  if (const int32_t rank = IrregularBlockRank(key.parts[4]); rank > 0) {
    key.e_class = 0;
    key.e_value = rank;
  } else if (const int64_t seconds = RegularIntervalSeconds(key.parts[4]); seconds > 0) {
    key.e_class = 1;
    key.e_value = seconds;
  }
  int32_t julian = 0;
  // The year is always written in a block's D part; 0 stands in for the clock's year.
  key.d_is_date = !key.parts[3].empty() && DateToJulian(key.parts[3], 0, &julian) == 0;
  key.d_julian = key.d_is_date ? julian : 0;
  return key;
}

std::string Heclib6CatalogPath(std::string_view path, int32_t type) {
  std::string shown(path);
  for (char& c : shown)
    c = AsciiUpper(c);
  PathnameParts parts{};
  if (type < 100 || type >= 200 || SplitPathname(shown, &parts) != 0) return shown;
  const auto e_begin = static_cast<std::size_t>(parts.begin[4] - 1);
  const auto e_length = static_cast<std::size_t>(parts.length[4]);
  const std::string_view name =
      VocabularyIntervalName(std::string_view(shown).substr(e_begin, e_length));
  if (!name.empty()) shown.replace(e_begin, e_length, name);
  return shown;
}

bool CatalogOrderLess(const CatalogSortKey& a, const CatalogSortKey& b) {
  for (int part : {0, 1, 2, 5}) {
    if (int c = ComparePadded(a.parts[part], b.parts[part]); c != 0) return c < 0;
  }
  if (a.series != b.series) return !a.series;
  if (int c = CompareE(a, b); c != 0) return c < 0;
  if (int c = CompareD(a, b); c != 0) return c < 0;
  return a.position < b.position;
}

std::array<std::string, 10> CatalogHeaderLines(const CatalogHeader& h) {
  char clock[16];
  std::snprintf(clock, sizeof clock, "%2d:%02d", h.now.hour, h.now.minute);
  char count[32];
  std::snprintf(count, sizeof count, "%7lld", static_cast<long long>(h.record_count));
  const std::string created =
      h.file_created_julian != 0 ? JulianText(h.file_created_julian, kHeaderDateStyle) : "";
  return {
      "",
      "     HECDSS Complete Catalog of Record Pathnames in File " + std::string(h.file_name),
      "",
      AtColumn50(
          "     Catalog Created on " + JulianText(h.now.julian, kHeaderDateStyle) + " at " + clock,
          "File Created on " + created),
      AtColumn50(std::string("     Number of Records:") + count,
                 "DSS Version " + std::string(kEngineVersionId) + ",  File " +
                     std::string(h.file_version)),
      h.sorted ? "     Sort Order: " + std::string(kSortOrder) : "     Pathnames Not Sorted",
      "",
      "  Ref.",
      " Number   Tag           Record Pathname",
      "",
  };
}

std::string CatalogRecordLine(int64_t number, std::string_view tag, std::string_view path) {
  char head[32];
  std::snprintf(head, sizeof head, number < 1000000 ? "%6lld  " : "%7lld ",
                static_cast<long long>(number));
  std::string line = head;
  std::string field(tag.substr(0, 8));
  field.resize(8, ' ');
  line += field;
  line += "  ";
  line.append(path);
  return line;
}

int32_t WriteCatalog(int32_t* ifltab, const CatalogRequest& request) {
  OpenTable* table = TableOf(ifltab);
  if (table == nullptr) {
    Message(1, " *****DSS*** ZCAT:  File not opened (invalid file table)");
    return 0;
  }
  if (request.input_unit != 0) {
    Message(2, " -----DSS---ZCAT:  Re-sorting an existing catalog is not supported");
    return 0;
  }
  if (!UnitConnected(request.unit)) {
    Message(1, " *****DSS*** ZCAT:  Catalog unit " + std::to_string(request.unit) +
                   " is not connected to a file");
    return 0;
  }
  container::RecordFile& file = *table->file;
  dss7::Status s = file.Refresh();
  std::vector<container::CatalogItem> entries;
  if (s == dss7::Status::kOk) s = file.file().Catalog(&entries);
  if (s != dss7::Status::kOk) {
    NoteFileStatus(ifltab, s);
    Message(
        1, std::string(" *****DSS*** ZCAT:  Cannot read the file's index: ") + dss7::StatusText(s));
    return 0;
  }

  std::vector<std::string> shown;
  shown.reserve(entries.size());
  for (const container::CatalogItem& entry : entries)
    shown.push_back(Heclib6CatalogPath(entry.listed_path, entry.type));
  std::vector<std::size_t> order(entries.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (request.sorted) {
    std::vector<CatalogSortKey> keys;
    keys.reserve(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i)
      keys.push_back(MakeCatalogSortKey(shown[i], entries[i].type, i));
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return CatalogOrderLess(keys[a], keys[b]); });
  }

  CatalogHeader header;
  const container::FileFigures figures = file.Figures();
  header.file_name = std::string(RecordedFileName(table->name));
  header.record_count = static_cast<int64_t>(entries.size());
  header.sorted = request.sorted;
  header.file_version = figures.version_text;
  (void)LocalStampOf(static_cast<int64_t>(std::time(nullptr)) * 1000, &header.now);
  if (LocalStamp created; figures.created_ms > 0 && LocalStampOf(figures.created_ms, &created)) {
    header.file_created_julian = created.julian;
  }
  for (const std::string& line : CatalogHeaderLines(header)) {
    if (WriteUnitLine(request.unit, line) != 0) {
      Message(1, " *****DSS*** ZCAT:  Cannot write to the catalog file");
      return 0;
    }
  }
  int32_t written = 0;
  for (std::size_t i : order) {
    // Records carry no tag in DSS-7: the default tag numbers them in file order.
    const std::string tag = entries[i].tag.empty() ? "T" + std::to_string(i + 1) : entries[i].tag;
    if (WriteUnitLine(request.unit, CatalogRecordLine(written + 1, tag, shown[i])) != 0) {
      Message(1, " *****DSS*** ZCAT:  Cannot write to the catalog file");
      break;
    }
    ++written;
  }
  return written;
}

}  // namespace varnock::engine
