#include "engine/dss6/reader.h"

#include "engine/dss6/records.h"
#include "engine/dss6/store.h"

namespace varnock::engine::dss6 {
namespace {

class Dss6RecordReader final : public container::RecordReader {
 public:
  explicit Dss6RecordReader(std::unique_ptr<Dss6File> file) : file_(std::move(file)) {}

  container::Container& file() override { return *file_; }

  Status ReadSeriesBlock(const container::CatalogItem& item, series::SeriesRead* out) override {
    const Status s = file_->ReadRecord(item.path, &record_);
    if (s != Status::kOk) return s;
    const int32_t t = record_.info.type;
    if (t == type::kIrregularFloat || t == type::kIrregularDouble) {
      return DecodeIrregular(record_, out);
    }
    return DecodeRegular(record_, out);
  }
  Status ReadPaired(const container::CatalogItem& item, paired::PairedData* out) override {
    const Status s = file_->ReadRecord(item.path, &record_);
    return s == Status::kOk ? DecodePaired(record_, out) : s;
  }
  Status ReadText(const container::CatalogItem& item, paired::TextData* out) override {
    const Status s = file_->ReadRecord(item.path, &record_);
    return s == Status::kOk ? DecodeText(record_, out) : s;
  }
  bool BlankAfterEmptySeriesText() const override { return true; }
  double NeverWritten() const override { return kMissing; }

 private:
  std::unique_ptr<Dss6File> file_;
  container::RecordAreas record_;  // reused between reads
};

class Dss6RecordWriter final : public container::RecordWriter {
 public:
  explicit Dss6RecordWriter(Dss6File& file) : file_(file) {}
  int MajorVersion() const override { return 6; }
  double NeverWritten() const override { return kMissing; }

  Status StoreSeriesBlock(std::string_view path, int32_t type,
                          const series::SeriesRead& b) override {
    const bool doubles = type % 10 >= 5;
    std::vector<Minutes> minutes(b.times.size());
    for (size_t i = 0; i < b.times.size(); ++i)
      minutes[i] = b.times[i] / 60;
    SeriesStore6* common = nullptr;
    RegularStore6 regular;
    IrregularStore6 irregular;
    common = type >= 110 ? static_cast<SeriesStore6*>(&irregular) : &regular;
    common->path = path;
    common->values = b.values;
    common->doubles = doubles;
    if (b.quality_size == 1) common->quality = b.quality;
    common->units = b.units;
    common->type = b.type;
    common->precision = b.precision;
    common->user_header = b.user_header;
    if (type >= 110) {
      irregular.times = minutes;
      return StoreIrregular(file_, irregular);
    }
    regular.start = minutes.front();
    return StoreRegular(file_, regular);
  }
  Status StorePaired(std::string_view path, const paired::PairedData& data) override {
    return dss6::StorePaired(file_, path, data);
  }
  Status StoreText(std::string_view path, const paired::TextData& data) override {
    return dss6::StoreText(file_, path, data);
  }

 private:
  Dss6File& file_;
};

}  // namespace

std::unique_ptr<container::RecordWriter> MakeRecordWriter(Dss6File& file) {
  return std::make_unique<Dss6RecordWriter>(file);
}

std::unique_ptr<container::RecordReader> MakeRecordReader(std::unique_ptr<Dss6File> file) {
  return std::make_unique<Dss6RecordReader>(std::move(file));
}

}  // namespace varnock::engine::dss6
