// DSS-7 behind the version-neutral interfaces: an adapter over DssFile and the existing
// series, paired-data and text readers and writers.
#include <algorithm>
#include <ctime>
#include <memory>

#include "engine/container/record_file.h"
#include "engine/dss7/dss_file.h"
#include "engine/records/paired/record_io.h"

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
  r.program = b.Program();
  r.last_write_ms = b.last_write_ms;
  return r;
}

CatalogItem ToItem(dss7::CatalogEntry&& e) {
  CatalogItem c;
  c.listed_path = e.path;
  c.path = std::move(e.path);
  c.type = e.type;
  c.info_address = e.info_address;
  c.first_julian = e.first_julian;
  c.last_julian = e.last_julian;
  c.last_write_ms = e.last_write_ms;
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

class Dss7RecordFile final : public RecordFile {
 public:
  explicit Dss7RecordFile(std::unique_ptr<dss7::DssFile> file)
      : file_(std::move(file)), series_(file_.dss()), writer_(MakeDss7RecordWriter(file_.dss())) {}

  Container& file() override { return file_; }
  dss7::DssFile& dss() { return file_.dss(); }
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

  RecordWriter& writer() override { return *writer_; }
  Status Refresh() override { return file_.dss().Refresh(); }
  uint64_t HeaderStamp() override { return StampOfWords(file_.dss().header()); }
  FileFigures Figures() override {
    const dss7::DssFile& f = file_.dss();
    const auto& h = f.header();
    FileFigures r;
    r.version_text = f.version().text;
    r.version_number = f.version().full;
    r.records = h[dss7::hdr::kRecordCount];
    r.size_words = std::max<int64_t>(h[dss7::hdr::kFileSize], 0);
    r.size_kbytes = (r.size_words * dss7::kWordBytes + 1023) / 1024;
    r.dead_percent = static_cast<int32_t>(dss7::DeadSpacePercent(h));
    r.hash_size = static_cast<int32_t>(h[dss7::hdr::kHashTableSize]);
    r.stable_table = true;
    r.created_ms = h[dss7::hdr::kCreateTime];
    r.last_write_ms = h[dss7::hdr::kLastWriteTime];
    return r;
  }
  Status ReadPairedNamed(std::string_view path, paired::PairedData* out,
                         RecordInfo* info) override {
    dss7::InfoBlock block;
    block.type = -1;
    const Status s = paired::ReadPairedData(file_.dss(), path, out, &block);
    if (info != nullptr && block.type != -1) *info = ToRecordInfo(block);
    return s;
  }
  Status WritePaired(std::string_view path, const paired::PairedData& data, paired::WritePlan plan,
                     std::string_view program) override {
    return paired::WritePairedData(file_.dss(), path, data, plan, program);
  }
  Status CopyRecord(std::string_view path, RecordFile& target,
                    std::string_view target_path) override {
    auto* same = dynamic_cast<Dss7RecordFile*>(&target);
    if (same == nullptr) {
      RecordInfo info;
      const Status s = file_.Lookup(path, &info);
      if (s != Status::kOk) return s;
      CatalogItem item;
      item.path = item.listed_path = info.path;
      item.type = info.type;
      return ConvertRecord(*this, item, target.writer(), target_path, &info);
    }
    dss7::DssFile& source = file_.dss();
    dss7::DssFile& into = same->file_.dss();
    dss7::InfoBlock info;
    Status s = source.Lookup(path, &info);
    // A source record whose areas lie outside the file fails here, not in the target.
    if (s == Status::kOk) s = dss7::CheckInfoBlock(info, source.physical_words());
    if (s != Status::kOk) return s;
    s = source.Copy(path, into, target_path);
    if (s == Status::kTypeMismatch) {
      // HECLIB overwrites a target of another type; the file layer rewrites only like with like.
      s = into.Delete(target_path);
      if (s == Status::kOk) s = source.Copy(path, into, target_path);
    }
    return s;
  }

  // series::SeriesFile
  series::SeriesStatus ReadRegular(std::string_view path, series::Instant start, int64_t count,
                                   series::SeriesRead* out,
                                   const series::ReadOptions& options) override {
    return series_.ReadRegular(path, start, count, out, options);
  }
  series::SeriesStatus StoreRegular(const series::RegularStore& request) override {
    return series_.StoreRegular(request);
  }
  series::SeriesStatus ReadIrregular(std::string_view path, series::Instant first,
                                     series::Instant last, series::SeriesRead* out,
                                     const series::ReadOptions& options) override {
    return series_.ReadIrregular(path, first, last, out, options);
  }
  series::SeriesStatus StoreIrregular(const series::IrregularStore& request) override {
    return series_.StoreIrregular(request);
  }

 private:
  Dss7Container file_;
  series::Dss7SeriesFile series_;
  std::unique_ptr<RecordWriter> writer_;
};

}  // namespace

dss7::DssFile* Dss7FileOf(RecordFile& file) {
  auto* dss7 = dynamic_cast<Dss7RecordFile*>(&file);
  return dss7 == nullptr ? nullptr : &dss7->dss();
}

std::unique_ptr<RecordFile> MakeDss7RecordFile(std::unique_ptr<dss7::DssFile> file) {
  return std::make_unique<Dss7RecordFile>(std::move(file));
}

}  // namespace varnock::engine::container
