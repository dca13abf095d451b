#include "engine/heclib/catalog_file.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <numeric>
#include <span>
#include <type_traits>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/dss7/key_order.h"
#include "engine/heclib/message_units.h"
#include "engine/heclib/open_files.h"
#include "engine/heclib/options.h"
#include "engine/rules/dates.h"
#include "engine/rules/dss_file_name.h"
#include "engine/rules/interval_names.h"
#include "engine/rules/pathname_rules.h"

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

// A memo slot of a part's text (FNV-1a).
std::size_t MemoSlot(std::string_view text) {
  uint32_t h = 2166136261u;
  for (const char c : text)
    h = (h ^ static_cast<unsigned char>(c)) * 16777619u;
  return h % CatalogKeyMemo::kSlots;
}

}  // namespace

CatalogSortKey MakeCatalogSortKey(std::string_view path, int32_t type, std::size_t position,
                                  CatalogKeyMemo* memo) {
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
  CatalogKeyMemo::Interval* interval =
      memo == nullptr ? nullptr : &memo->intervals[MemoSlot(key.parts[4])];
  if (interval != nullptr && interval->known && interval->text == key.parts[4]) {
    key.e_class = interval->e_class;
    key.e_value = interval->e_value;
  } else {
    if (const int32_t rank = IrregularBlockRank(key.parts[4]); rank > 0) {
      key.e_class = 0;
      key.e_value = rank;
    } else if (const int64_t seconds = RegularIntervalSeconds(key.parts[4]); seconds > 0) {
      key.e_class = 1;
      key.e_value = seconds;
    }
    if (interval != nullptr) *interval = {key.parts[4], true, key.e_class, key.e_value};
  }
  CatalogKeyMemo::Day* day = memo == nullptr ? nullptr : &memo->days[MemoSlot(key.parts[3])];
  if (day != nullptr && day->known && day->text == key.parts[3]) {
    key.d_is_date = day->is_date;
    key.d_julian = day->julian;
    return key;
  }
  int32_t julian = 0;
  // The year is always written in a block's D part; 0 stands in for the clock's year.
  key.d_is_date = !key.parts[3].empty() && DateToJulian(key.parts[3], 0, &julian) == 0;
  key.d_julian = key.d_is_date ? julian : 0;
  if (day != nullptr) *day = {key.parts[3], true, key.d_is_date, key.d_julian};
  return key;
}

void AppendHeclib6CatalogPath(std::string* out, std::string_view path, int32_t type) {
  const std::size_t begin = out->size();
  out->append(path);
  const auto shown = std::span<char>(out->data() + begin, path.size());
  for (char& c : shown)
    c = AsciiUpper(c);
  PathnameParts parts{};
  if (type < 100 || type >= 200 ||
      SplitPathname(std::string_view(shown.data(), shown.size()), &parts) != 0) {
    return;
  }
  const auto e_begin = begin + static_cast<std::size_t>(parts.begin[4] - 1);
  const auto e_length = static_cast<std::size_t>(parts.length[4]);
  const std::string_view name =
      VocabularyIntervalName(std::string_view(*out).substr(e_begin, e_length));
  if (!name.empty()) out->replace(e_begin, e_length, name);
}

std::string Heclib6CatalogPath(std::string_view path, int32_t type) {
  std::string shown;
  AppendHeclib6CatalogPath(&shown, path, type);
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

namespace {

// Big-endian bytes of v with the sign bit flipped: unsigned byte order is v's order.
template <typename T>
void PutOrdered(char** at, T v) {
  using U = std::make_unsigned_t<T>;
  const U bits = static_cast<U>(static_cast<U>(v) ^ (U{1} << (sizeof(U) * 8 - 1)));
  for (std::size_t i = 0; i < sizeof(U); ++i)
    *(*at)++ = static_cast<char>(bits >> ((sizeof(U) - 1 - i) * 8));
}

}  // namespace

std::vector<std::size_t> CatalogOrder(std::size_t count,
                                      const std::function<CatalogSortKey(std::size_t)>& key_of) {
  // Each part blank-padded to the longest of its kind compares as ComparePadded does. The
  // series flag comes before E and D, so the number columns below only meet their own kind.
  // Keys are made twice (lengths, then bytes) rather than kept: for large catalogs they would
  // be many times the size of the byte keys.
  std::array<std::size_t, 6> longest{};
  for (std::size_t i = 0; i < count; ++i) {
    const CatalogSortKey k = key_of(i);
    for (int p = 0; p < 6; ++p)
      longest[p] = std::max(longest[p], k.parts[p].size());
  }
  const std::size_t width = longest[0] + longest[1] + longest[2] + longest[5] + 1 +
                            (1 + sizeof(int64_t) + longest[4]) + (1 + sizeof(int32_t) + longest[3]);
  dss7::FixedWidthKeys bytes(count, width);
  std::vector<std::size_t> position(count);
  for (std::size_t i = 0; i < count; ++i) {
    const CatalogSortKey k = key_of(i);
    position[i] = k.position;
    char* at = bytes.Row(i);
    for (int part : {0, 1, 2, 5})
      dss7::PutColumn(&at, k.parts[part], longest[part]);
    *at++ = k.series ? 1 : 0;
    // E: a known interval or block stands in for the text, which then ties.
    const bool e_number = k.series && k.e_class != 2;
    *at++ = static_cast<char>(k.series ? k.e_class : 0);
    PutOrdered<int64_t>(&at, e_number ? k.e_value : 0);
    dss7::PutColumn(&at, e_number ? std::string_view() : k.parts[4], longest[4]);
    // D: dates before other texts, by day.
    const bool d_number = k.series && k.d_is_date;
    *at++ = static_cast<char>(k.series && !k.d_is_date ? 1 : 0);
    PutOrdered<int32_t>(&at, d_number ? k.d_julian : 0);
    dss7::PutColumn(&at, d_number ? std::string_view() : k.parts[3], longest[3]);
  }
  std::vector<std::size_t> order = bytes.StableOrder();
  for (std::size_t& i : order)
    i = position[i];
  return order;
}

std::vector<std::size_t> CatalogOrder(const std::vector<CatalogSortKey>& keys) {
  return CatalogOrder(keys.size(), [&](std::size_t i) { return keys[i]; });
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

void AppendCatalogRecordLine(std::string* out, int64_t number, std::string_view tag,
                             std::string_view path) {
  // "%6lld  " below a million, else "%7lld ".
  char head[24];
  char* end = head + sizeof head;
  char* at = end;
  uint64_t n = number < 0 ? 0 - static_cast<uint64_t>(number) : static_cast<uint64_t>(number);
  do {
    *--at = static_cast<char>('0' + n % 10);
    n /= 10;
  } while (n != 0);
  if (number < 0) *--at = '-';
  const std::size_t digits = static_cast<std::size_t>(end - at);
  const std::size_t field = number < 1000000 ? 6 : 7;
  if (digits < field) out->append(field - digits, ' ');
  out->append(at, digits);
  out->append(number < 1000000 ? 2 : 1, ' ');
  const std::string_view cut = tag.substr(0, 8);
  out->append(cut);
  out->append(8 - cut.size() + 2, ' ');
  out->append(path);
}

std::string CatalogRecordLine(int64_t number, std::string_view tag, std::string_view path) {
  std::string line;
  AppendCatalogRecordLine(&line, number, tag, path);
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

  // Every listed name in one buffer, then the order over views into it.
  std::string names;
  std::vector<std::size_t> name_end(entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    AppendHeclib6CatalogPath(&names, entries[i].listed_path, entries[i].type);
    name_end[i] = names.size();
  }
  auto shown = [&](std::size_t i) {
    const std::size_t begin = i == 0 ? 0 : name_end[i - 1];
    return std::string_view(names).substr(begin, name_end[i] - begin);
  };
  std::vector<std::size_t> order(entries.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (request.sorted) {
    auto memo = std::make_unique<CatalogKeyMemo>();
    order = CatalogOrder(entries.size(), [&](std::size_t i) {
      return MakeCatalogSortKey(shown(i), entries[i].type, i, memo.get());
    });
  }

  CatalogHeader header;
  const container::FileFigures figures = file.Figures();
  const std::string name(RecordedFileName(table->name));
  header.file_name = name;
  header.record_count = static_cast<int64_t>(entries.size());
  header.sorted = request.sorted;
  header.file_version = figures.version_text;
  (void)LocalStampOf(static_cast<int64_t>(std::time(nullptr)) * 1000, &header.now);
  if (LocalStamp created; figures.created_ms > 0 && LocalStampOf(figures.created_ms, &created)) {
    header.file_created_julian = created.julian;
  }
  std::string text;
  for (const std::string& line : CatalogHeaderLines(header)) {
    text += line;
    text += '\n';
  }
  if (WriteUnitText(request.unit, text) != 0) {
    Message(1, " *****DSS*** ZCAT:  Cannot write to the catalog file");
    return 0;
  }
  // Lines go out in batches of about a megabyte; the count is of lines in batches written.
  constexpr std::size_t kBatchBytes = 1 << 20;
  text.clear();
  int32_t written = 0;
  int32_t batched = 0;
  char tag[24] = "T";
  for (std::size_t k = 0; k < order.size(); ++k) {
    // Names are read in listing order, from anywhere in their buffer: fetched ahead.
    if (constexpr std::size_t kAhead = 8; k + kAhead < order.size())
      __builtin_prefetch(shown(order[k + kAhead]).data());
    const std::size_t i = order[k];
    // DSS-7 records carry no tag: the default tag numbers them in file order.
    std::string_view record_tag = entries[i].tag;
    if (record_tag.empty()) {
      const auto tag_end = std::to_chars(tag + 1, tag + sizeof tag, i + 1).ptr;
      record_tag = std::string_view(tag, static_cast<std::size_t>(tag_end - tag));
    }
    AppendCatalogRecordLine(&text, written + batched + 1, record_tag, shown(i));
    text += '\n';
    ++batched;
    if (text.size() < kBatchBytes && k + 1 < order.size()) continue;
    if (WriteUnitText(request.unit, text) != 0) {
      Message(1, " *****DSS*** ZCAT:  Cannot write to the catalog file");
      break;
    }
    written += batched;
    batched = 0;
    text.clear();
  }
  return written;
}

}  // namespace varnock::engine
