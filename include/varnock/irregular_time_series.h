// IrregTimeSeries: an irregular-interval series whose values each carry their own date, with a
// reading window and the record attributes of a DSS file.
#ifndef VARNOCK_IRREGULAR_TIME_SERIES_H_
#define VARNOCK_IRREGULAR_TIME_SERIES_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "varnock/date.h"
#include "varnock/interfaces.h"
#include "varnock/pathname.h"

namespace varnock {

class VARNOCK_API IrregTimeSeries : public ITimeSeriesDirect,
                                    public IDSSRecord,
                                    public IHTSLStream {
 public:
  IrregTimeSeries();

  // _IrregTimeSeries
  void Aggregation(int32_t value) { aggregation_ = value; }  // IrrAggregationTypes
  MergeOptions MergeOption() const { return merge_option_; }
  void MergeOption(MergeOptions value) { merge_option_ = value; }
  void TsUnits(const std::string& value);
  void TsType(const std::string& value);
  const std::string& TsUnits() const { return units_; }
  const std::string& TsType() const { return type_; }
  int32_t Flag(int32_t lngIndex) const;
  void Flag(int32_t lngIndex, int32_t value);
  // Setting the count discards every value and date, and the reading window.
  void ValueCount(int32_t count);
  int32_t ValueCount() const { return static_cast<int32_t>(values_.size()) - 1; }
  Date DateTime(int32_t lngIndex) const;
  void DateTime(int32_t lngIndex, Date value);
  // The window start; the zero date when unset. Setting either bound empties the series.
  Date Starting() const { return starting_.value_or(Date(0.0)); }
  void Starting(Date value);
  void Ending(Date value);
  float Value(int32_t lngIndex) const;
  void Value(int32_t lngIndex, float value);
  std::shared_ptr<Object> ScriptQueryInterface(const std::string& InterfaceType);

  // IDSSRecord
  void Store(const std::shared_ptr<DSSDatabase>& pDB) override;
  void Retrieve(const std::shared_ptr<DSSDatabase>& pDB) override;
  std::shared_ptr<varnock::Pathname> Pathname() override;
  // An irregular series has no store plan: both raise 0x80044001.
  void Plan(DSSPlans value) override;
  DSSPlans Plan() override;
  void MissingIsError(bool value) override { missing_is_error_ = value; }
  bool MissingIsError() override { return missing_is_error_; }
  bool RecordExists(const std::shared_ptr<DSSDatabase>& pDB) override;
  std::string RecordDataType(const std::shared_ptr<DSSDatabase>& pDB) override;

  // IHTSLStream
  std::string Domain() override { return Pathname()->Apart(); }
  void Domain(const std::string& value) override { Pathname()->Apart(value); }
  std::string Location() override { return Pathname()->Bpart(); }
  void Location(const std::string& value) override { Pathname()->Bpart(value); }
  std::string ValueType() override { return Pathname()->Cpart(); }
  void ValueType(const std::string& value) override { Pathname()->Cpart(value); }
  void FromDOM(const std::shared_ptr<Object>& pHTSL) override;
  std::shared_ptr<Object> ToDOM() override;

 private:
  void ClearData();
  void RequireNamedPathname();

  std::string units_;
  std::string type_;
  MergeOptions merge_option_ = moMergeData;
  bool missing_is_error_ = false;
  std::shared_ptr<varnock::Pathname> pathname_;
  std::vector<float> values_;   // slot 0 unused
  std::vector<Date> dates_;     // slot 0 unused
  std::vector<int32_t> flags_;  // empty until the count is set
  std::optional<Date> starting_;
  std::optional<Date> ending_;
  int32_t aggregation_ = atUseHighest;
};

}  // namespace varnock

#endif  // VARNOCK_IRREGULAR_TIME_SERIES_H_
