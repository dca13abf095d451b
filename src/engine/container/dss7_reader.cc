// DSS-7 behind the version-neutral interfaces: an adapter over DssFile and the existing
// series, paired-data and text readers.
#include <ctime>
#include <memory>

#include "engine/container/record_reader.h"
#include "engine/dss7/dss_file.h"
#include "engine/paired/record_io.h"

namespace varnock::engine::container {
namespace {

// Milliseconds since 1970 as "YYYY-MM-DDTHH:MM:SSZ"; empty when not set.
std::string WallClockTime(int64_t milliseconds) {
  if (milliseconds <= 0) return "";
  const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

RecordInfo ToRecordInfo(const dss7::InfoBlock& b) {
  RecordInfo r;
  r.path = b.path;
  r.address = b.address;
  r.type = b.type;
  r.version = b.version;
  r.logical_count = b.logical_count;
  r.area_length = b.area_length;
  return r;
}

CatalogItem ToItem(dss7::CatalogEntry&& e) {
  CatalogItem c;
  c.listed_path = e.path;
  c.path = std::move(e.path);
  c.type = e.type;
  c.info_address = e.info_address;
  return c;
}

class Dss7Container final : public Container {
 public:
  explicit Dss7Container(std::unique_ptr<dss7::DssFile> file) : file_(std::move(file)) {}
  dss7::DssFile& dss() { return *file_; }

  int MajorVersion() const override { return 7; }
  std::string VersionText() const override { return file_->version().text; }
  FileFacts Facts() const override {
    const auto& header = file_->header();
    FileFacts facts;
    facts.records = header[dss7::hdr::kRecordCount];
    facts.deleted = header[dss7::hdr::kDeleteCount];
    facts.size_bytes = SaturatedBytes(header[dss7::hdr::kFileSize], dss7::kWordBytes);
    facts.dead_bytes = SaturatedBytes(header[dss7::hdr::kDeadSpace], dss7::kWordBytes);
    facts.created = WallClockTime(header[dss7::hdr::kCreateTime]);
    facts.last_written = WallClockTime(header[dss7::hdr::kLastWriteTime]);
    return facts;
  }
  Status Catalog(std::vector<CatalogItem>* out) override { return List(false, out); }
  Status SortedCatalog(std::vector<CatalogItem>* out) override { return List(true, out); }
  Status DeletedCatalog(std::vector<CatalogItem>* out) override {
    dss7::CatalogFilter deleted;
    deleted.which = dss7::CatalogFilter::Which::kDeleted;
    std::vector<dss7::CatalogEntry> entries;
    const Status s = file_->Catalog(&entries, deleted);
    out->clear();
    for (auto& e : entries)
      out->push_back(ToItem(std::move(e)));
    return s;
  }
  Status Lookup(std::string_view path, RecordInfo* out) override {
    dss7::InfoBlock info;
    const Status s = file_->Lookup(path, &info);
    if (s == Status::kOk) *out = ToRecordInfo(info);
    return s;
  }
  bool read_only() const override { return file_->read_only(); }
  Status Delete(std::string_view path) override { return file_->Delete(path); }
  Status Undelete(std::string_view path) override { return file_->Undelete(path); }
  Status Rename(std::string_view old_path, std::string_view new_path) override {
    return file_->Rename(old_path, new_path);
  }
  Status Close() override { return file_->Close(); }
  Status ReadRecord(std::string_view path, RecordAreas* out) override {
    dss7::Record r;
    const Status s = file_->ReadRecord(path, &r);
    if (s != Status::kOk) return s;
    out->info = ToRecordInfo(r.info);
    out->areas = std::move(r.areas);
    return Status::kOk;
  }

 private:
  Status List(bool sorted, std::vector<CatalogItem>* out) {
    std::vector<dss7::CatalogEntry> entries;
    const Status s = sorted ? file_->SortedCatalog(&entries) : file_->Catalog(&entries);
    out->clear();
    for (auto& e : entries)
      out->push_back(ToItem(std::move(e)));
    return s;
  }
  std::unique_ptr<dss7::DssFile> file_;
};

class Dss7RecordReader final : public RecordReader {
 public:
  explicit Dss7RecordReader(std::unique_ptr<dss7::DssFile> file) : file_(std::move(file)) {}

  Container& file() override { return file_; }
  Status ReadSeriesBlock(const CatalogItem& item, series::SeriesRead* out) override {
    series::SeriesStatus status;
    if (item.type >= 110 && item.type < 120) {
      series::Instant first = 0, last = 0;
      status = series::IrregularBlockWindow(item.path, &first, &last);
      if (status.ok()) status = series::ReadIrregular(file_.dss(), item.path, first, last, out);
    } else {
      series::Instant start = 0;
      int32_t count = 0;
      status = series::RegularBlockWindow(item.path, &start, &count);
      if (status.ok()) status = series::ReadRegular(file_.dss(), item.path, start, count, out);
    }
    return status.AsFileStatus();
  }
  Status ReadPaired(const CatalogItem& item, paired::PairedData* out) override {
    return paired::ReadPairedData(file_.dss(), item.path, out);
  }
  Status ReadText(const CatalogItem& item, paired::TextData* out) override {
    return paired::ReadText(file_.dss(), item.path, out);
  }
  bool BlankAfterEmptySeriesText() const override { return false; }
  double NeverWritten() const override { return series::kUndefinedDouble; }

 private:
  Dss7Container file_;
};

}  // namespace

std::unique_ptr<RecordReader> MakeDss7RecordReader(std::unique_ptr<dss7::DssFile> file) {
  return std::make_unique<Dss7RecordReader>(std::move(file));
}

}  // namespace varnock::engine::container
