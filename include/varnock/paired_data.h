// PairedData: one set of first-axis ordinates shared by one or more curves of second-axis
// ordinates (a rating curve, a stage-damage table), bound to a paired-data record.
#ifndef VARNOCK_PAIRED_DATA_H_
#define VARNOCK_PAIRED_DATA_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "varnock/interfaces.h"
#include "varnock/pathname.h"

namespace varnock {

enum PDAxes : int32_t { axUndefined = 0, axFirstAxis = 1, axSecondAxis = 2 };

class VARNOCK_API PairedData : public IDSSRecord {
 public:
  PairedData();

  PDAxes Horizontal() const { return horizontal_; }
  void Horizontal(PDAxes value) { horizontal_ = value; }
  int16_t Nord() const { return nord_; }
  int16_t Ncurve() const { return ncurve_; }
  // Sets both counts and clears values and labels; more than 32767 values raise "Overflow".
  void SetNcurveNord(int16_t NewNcurve, int16_t NewNord);
  std::string Units(PDAxes Axis) const;
  void Units(PDAxes Axis, const std::string& value);
  std::string PdType(PDAxes Axis) const;
  void PdType(PDAxes Axis, const std::string& value);
  // Curve labels, zero-based.
  std::string LABEL(int32_t CurveNo) const;
  void LABEL(int32_t CurveNo, const std::string& value);
  // First-axis ordinates, zero-based; -902 while the record has no size.
  float XValue(int32_t OrdNo) const;
  void XValue(int32_t OrdNo, float value);
  float YValue(int32_t CurveNo, int32_t OrdNo) const;
  void YValue(int32_t CurveNo, int32_t OrdNo, float value);
  std::string AsXmlString() const;

  // IDSSRecord
  void Store(const std::shared_ptr<DSSDatabase>& pDB) override;
  void Retrieve(const std::shared_ptr<DSSDatabase>& pDB) override;
  std::shared_ptr<varnock::Pathname> Pathname() override { return pathname_; }
  void Plan(DSSPlans value) override;
  DSSPlans Plan() override { return plan_; }
  // Not supported for paired data: the let raises 0x80044001, the get is false.
  void MissingIsError(bool value) override;
  bool MissingIsError() override { return false; }
  bool RecordExists(const std::shared_ptr<DSSDatabase>& pDB) override;
  std::string RecordDataType(const std::shared_ptr<DSSDatabase>& pDB) override;

  // For the database's gateways: the raw arrays, and the loader that takes a read record
  // without re-dimensioning.
  const std::vector<float>& ValueArray() const { return values_; }
  const std::vector<std::string>& LabelArray() const { return labels_; }
  void LoadFromRecord(int16_t ncurve, int16_t nord, std::vector<float> values,
                      std::vector<std::string> labels);

 private:
  size_t ValueIndex(int64_t index) const;

  int16_t nord_ = 0;
  int16_t ncurve_ = 0;
  PDAxes horizontal_ = axUndefined;
  std::string units_[2];
  std::string types_[2] = {"UNT", "UNT"};
  DSSPlans plan_ = plnAlwaysWrite;
  std::vector<float> values_;
  std::vector<std::string> labels_;
  std::shared_ptr<varnock::Pathname> pathname_;
};

// GriddedData: a placeholder record that refuses retrieval and storage and hands record
// existence and type to the database.
class VARNOCK_API GriddedData : public IDSSRecord {
 public:
  GriddedData();
  void Store(const std::shared_ptr<DSSDatabase>& pDB) override;
  void Retrieve(const std::shared_ptr<DSSDatabase>& pDB) override;
  std::shared_ptr<varnock::Pathname> Pathname() override { return pathname_; }
  void Plan(DSSPlans value) override { plan_ = value; }
  DSSPlans Plan() override { return plan_; }
  void MissingIsError(bool value) override { missing_is_error_ = value; }
  bool MissingIsError() override { return missing_is_error_; }
  bool RecordExists(const std::shared_ptr<DSSDatabase>& pDB) override;
  std::string RecordDataType(const std::shared_ptr<DSSDatabase>& pDB) override;

 private:
  std::shared_ptr<varnock::Pathname> pathname_;
  DSSPlans plan_ = plnAlwaysWrite;
  bool missing_is_error_ = false;
};

}  // namespace varnock

#endif  // VARNOCK_PAIRED_DATA_H_
