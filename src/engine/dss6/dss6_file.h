// A DSS version 6 file: open, look up, read and catalog records. Never throws; every operation
// returns a Status. Addresses are DSS-6 word addresses (1-based, 4-byte words); the physical
// record layout (127 words per 512 bytes) is hidden in ReadWords.
#ifndef VARNOCK_ENGINE_DSS6_DSS6_FILE_H_
#define VARNOCK_ENGINE_DSS6_DSS6_FILE_H_

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/container/container.h"
#include "engine/dss6/codec.h"
#include "engine/dss7/file_io.h"

namespace varnock::engine::dss6 {

// A live record found by lookup: its bin entry and info block.
struct Found {
  BinEntry entry;
  InfoBlock info;
};

class Dss6File final : public container::Container {
 public:
  // kNotDssFile, kIncompatibleVersion (not a "6-" file), kInvalidHeader, or an I/O status.
  static Status OpenIO(std::unique_ptr<dss7::FileIO> io, std::unique_ptr<Dss6File>* out);
  static Status Open(const std::string& path, std::unique_ptr<Dss6File>* out);

  // Always read-only for now; a file whose header carries the dead-writer mark stays so.
  bool read_only() const { return true; }
  const HeaderWords& header() const { return header_; }
  int64_t file_words() const { return file_words_; }

  // Words at 1-based `address`; kDamaged when any of them lies outside the file.
  Status ReadWords(int64_t address, std::span<int32_t> out);
  Status ReadInfoAt(int64_t address, InfoBlock* out);
  // A live record by pathname (normalised first): kOk, kNotFound, kPathMismatch when the
  // info block the bin points at holds another path, or kDamaged.
  Status Find(std::string_view path, Found* out);

  // Container.
  int MajorVersion() const override { return 6; }
  std::string VersionText() const override;
  Status Catalog(std::vector<container::CatalogItem>* out) override;
  Status SortedCatalog(std::vector<container::CatalogItem>* out) override;
  Status Lookup(std::string_view path, container::RecordInfo* out) override;
  Status ReadRecord(std::string_view path, container::RecordAreas* out) override;

 private:
  explicit Dss6File(std::unique_ptr<dss7::FileIO> io) : io_(std::move(io)) {}
  Status LoadHeader();
  Status ReadBin(int64_t address, std::span<int32_t> out);
  Status ReadArea(int64_t address, int64_t words, std::vector<int32_t>* out);

  std::unique_ptr<dss7::FileIO> io_;
  HeaderWords header_{};
  int64_t file_words_ = 0;
  bool crashed_writer_ = false;
  std::vector<std::byte> scratch_;
};

// The name HEC's catalog lists a record under: the stored path, with the E part of a
// pseudo-regular series turned back into "~" and its interval.
std::string ListedPath(const BinEntry& entry);

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_DSS6_FILE_H_
