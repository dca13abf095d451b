// DSSDatabase as IDSSCatalog: HECLIB writes the catalog text file, and the listing is read
// back from it.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "database/errors.h"
#include "varnock/database.h"
#include "varnock/heclib.h"

namespace varnock {

namespace {

constexpr int32_t kCatalogUnit = 13;
constexpr int kCatalogHeaderLines = 10;
constexpr size_t kRecordNumberWidth = 8;
constexpr int32_t kTagWidth = 8;
constexpr int32_t kShortPartWidth = 32;
constexpr int32_t kLongPartWidth = 80;

// The pieces of a record line split at its first seven slashes: the number and tag, then
// parts A to F. False when the line does not hold a whole pathname (a blank line, say).
bool SplitRecordLine(std::string_view line, std::array<std::string_view, 7>* pieces) {
  size_t start = 0;
  for (size_t i = 0; i < pieces->size(); ++i) {
    const size_t slash = line.find('/', start);
    if (slash == std::string_view::npos) return false;
    (*pieces)[i] = line.substr(start, slash - start);
    start = slash + 1;
  }
  return true;
}

// The whole file; false when it cannot be read.
bool ReadWholeFile(const std::string& name, std::string* text) {
  std::ifstream in(name, std::ios::binary);
  if (!in) return false;
  in.seekg(0, std::ios::end);
  const std::streamoff size = in.tellg();
  if (size < 0) return false;
  in.seekg(0, std::ios::beg);
  text->resize(static_cast<size_t>(size));
  in.read(text->data(), size);
  text->resize(static_cast<size_t>(in.gcount()));
  return !in.bad();
}

AutomationError CatalogIssue(const std::string& description) {
  return database::Error(dssCatalogIssue, description);
}

// A uniquely named file in the temporary folder, removed when this goes out of scope.
class TemporaryCatalog {
 public:
  TemporaryCatalog() = default;
  TemporaryCatalog(const TemporaryCatalog&) = delete;
  TemporaryCatalog& operator=(const TemporaryCatalog&) = delete;
  ~TemporaryCatalog() {
    if (!name_.empty()) std::remove(name_.c_str());
  }
  bool Create() {
    std::string pattern = TemporaryFolder() + "varnock_catalog_XXXXXX";
    const int fd = ::mkstemp(pattern.data());
    if (fd < 0) return false;
    ::close(fd);
    name_ = pattern;
    return true;
  }
  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

}  // namespace

std::string DSSDatabase::CatalogFileName(const std::string& dest_filename) const {
  std::string name = dest_filename;
  if (name.empty()) {
    name = name_;
    for (size_t at = name.find(".dss"); at != std::string::npos; at = name.find(".dss", at + 4))
      name.replace(at, 4, ".dsc");
  }
  std::error_code ignored;
  return std::filesystem::absolute(name, ignored).string();
}

void DSSDatabase::MakeNewCatalog(const std::string& DestFilename) {
  RequireConnection();
  const std::string catalog = CatalogFileName(DestFilename);
  if (!WriteCatalogFile(catalog)) throw CatalogIssue("Unable to write the catalog file " + catalog);
}

bool DSSDatabase::WriteCatalogFile(const std::string& catalog) {
  if (hecFortranOpen(catalog, kCatalogUnit) != 0) return false;
  hecZcat(ifltab_, kCatalogUnit, true);
  hecFortranClose(kCatalogUnit);
  return true;
}

void DSSDatabase::ReadCatalog(bool make_new, const std::string& dest_filename,
                              const std::function<void(const CatalogLinePieces& pieces)>& on_line,
                              const std::function<void(size_t lines)>& on_count) {
  std::string catalog = CatalogFileName(dest_filename);
  std::error_code ignored;
  TemporaryCatalog temporary;
  if ((make_new || !std::filesystem::exists(catalog, ignored)) && !WriteCatalogFile(catalog)) {
    // A folder we cannot write (read-only, or missing): the listing goes to the temporary
    // folder instead, as HECLIB's catalog may, and is removed once read.
    if (!temporary.Create() || !WriteCatalogFile(temporary.name())) {
      throw CatalogIssue("Unable to write the catalog file " + catalog +
                         " or one in the temporary folder " + TemporaryFolder());
    }
    catalog = temporary.name();
  }
  std::string text;
  if (!ReadWholeFile(catalog, &text))
    throw CatalogIssue("Unable to read the catalog file " + catalog);
  const std::string_view all(text);
  size_t at = 0;
  for (int skipped = 0; skipped < kCatalogHeaderLines && at < all.size(); ++skipped) {
    const size_t end = all.find('\n', at);
    at = end == std::string_view::npos ? all.size() : end + 1;
  }
  if (on_count) on_count(static_cast<size_t>(std::count(all.begin() + at, all.end(), '\n')) + 1);
  CatalogLinePieces pieces;
  while (at < all.size()) {
    size_t end = all.find('\n', at);
    if (end == std::string_view::npos) end = all.size();
    if (SplitRecordLine(all.substr(at, end - at), &pieces)) on_line(pieces);
    at = end + 1;
  }
}

std::shared_ptr<Recordset> DSSDatabase::AsRecordset(bool MakeNewCat,
                                                    const std::string& DestFilename) {
  RequireConnection();
  const int32_t width = long_parts_ ? kLongPartWidth : kShortPartWidth;
  auto records = std::make_shared<Recordset>();
  records->AppendField("RecNum", adInteger);
  records->AppendField("Tag", adVarChar, kTagWidth);
  for (const char* part : {"A", "B", "C", "D", "E", "F"})
    records->AppendField(part, adVarChar, width);
  records->CursorType(adOpenStatic);
  records->LockType(adLockOptimistic);
  records->Open();
  static const std::vector<std::string> kFieldList = {"RecNum", "Tag", "A", "B",
                                                      "C",      "D",   "E", "F"};
  ReadCatalog(MakeNewCat, DestFilename, [&](const CatalogLinePieces& pieces) {
    const std::string head(pieces[0]);
    std::vector<Variant> values;
    values.reserve(kFieldList.size());
    values.emplace_back(Variant(TrimBlanks(head.substr(0, kRecordNumberWidth))).ToLong());
    const std::string tag =
        head.size() > kRecordNumberWidth ? TrimBlanks(head.substr(kRecordNumberWidth)) : "";
    values.emplace_back(tag.substr(0, kTagWidth));
    // A part wider than its field is cut to fit; AsCollection keeps whole parts.
    for (int i = 1; i <= 6; ++i)
      values.emplace_back(std::string(pieces[i].substr(0, width)));
    records->AddNew(kFieldList, values);
  });
  if (records->RecordCount() > 0) records->MoveFirst();
  return records;
}

std::vector<std::shared_ptr<Pathname>> DSSDatabase::AsCollection(bool MakeNewCat,
                                                                 const std::string& DestFilename) {
  RequireConnection();
  std::vector<std::shared_ptr<Pathname>> collection;
  ReadCatalog(
      MakeNewCat, DestFilename,
      [&](const CatalogLinePieces& pieces) {
        // Parts as the catalog lists them, kept as they are.
        auto path = std::make_shared<Pathname>();
        path->SetStoredParts({pieces[1], pieces[2], pieces[3], pieces[4], pieces[5], pieces[6]});
        collection.push_back(std::move(path));
      },
      [&](size_t lines) { collection.reserve(lines); });
  return collection;
}

}  // namespace varnock
