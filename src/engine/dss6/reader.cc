#include "engine/dss6/reader.h"

#include "engine/dss6/records.h"

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

 private:
  std::unique_ptr<Dss6File> file_;
  container::RecordAreas record_;  // reused between reads
};

}  // namespace

std::unique_ptr<container::RecordReader> MakeRecordReader(std::unique_ptr<Dss6File> file) {
  return std::make_unique<Dss6RecordReader>(std::move(file));
}

}  // namespace varnock::engine::dss6
