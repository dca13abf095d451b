// The library's interfaces and shared enumerations.
#ifndef VARNOCK_INTERFACES_H_
#define VARNOCK_INTERFACES_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "varnock/object.h"
#include "varnock/pathname.h"
#include "varnock/recordset.h"
#include "varnock/variant.h"

namespace varnock {

// Error codes; the raised number is the automation object-error base plus the code.
enum DSSErrors : int32_t {
  dssHeclibError = 8192,
  dssNotOpen = 8193,
  dssIsOpen = 8194,
  dssDateError = 8196,
  dssBadPathname = 8197,
  dssCatalogIssue = 8198,
};

// How series are drawn by the direct-output members.
enum StepMethods : int32_t { intrpStepEnding = 0, intrpStepStart = 1, intrpContinuous = 2 };

// Store plans, handed to HECLIB's ZSRTS unchanged.
enum DSSPlans : int32_t {
  plnAlwaysWrite = 0,
  plnDontReplaceExisting = 1,
  plnWriteOnlyIfExisting = 2,
  plnReserved3 = 3,
  plnPreserveMissing = 4,
};

// How a regular series combines values when it coarsens or imports.
enum AggregationTypes : int32_t { atUseHighest = 0, atUseLast = 1, atUseAverage = 2 };

// How a regular series fills slots that sparse input leaves open.
enum PadMethods : int32_t { intPadWatch = 0, intPadEDMSpolled = 1, intPadEDMSmixed = 2 };

// How an irregular store meets data already in the file.
enum MergeOptions : int32_t { moMergeData = 0, moReplaceData = 1 };

// How an irregular series combines values. Its first two members share the names and values
// of AggregationTypes (atUseHighest 0, atUseLast 1), so only the third is declared here.
enum IrrAggregationTypes : int32_t { atUseAcum = 2 };

// The missing-value marker, and the marker of values an operation could not produce.
inline constexpr float kMissingValue = -901.0f;
inline constexpr float kNotProducedValue = -902.0f;

class DSSDatabase;
class RegularTimeSeries;

// A listing of every record of a connected database.
class VARNOCK_API IDSSCatalog : public virtual Object {
 public:
  // Has HECLIB write a new catalog file (by default beside the database, ".dsc" for ".dss");
  // raises 0x80042006 (dssCatalogIssue) when that file cannot be written.
  virtual void MakeNewCatalog(const std::string& DestFilename = "") = 0;
  // The catalog lists pathnames as HECLIB 6 shows them: upper-cased, with each time-series
  // E part that the interval vocabulary names under that name ("15MIN", not "15Minute"), so
  // every listed name can be given to a series as it stands. When the catalog file cannot be
  // written where it belongs (a read-only folder), it is made in the temporary folder and
  // removed once read.
  // One row per record: RecNum, Tag, A, B, C, D, E, F.
  virtual std::shared_ptr<Recordset> AsRecordset(bool MakeNewCat = false,
                                                 const std::string& DestFilename = "") = 0;
  // One Pathname per record, in catalog order.
  virtual std::vector<std::shared_ptr<Pathname>> AsCollection(
      bool MakeNewCat = false, const std::string& DestFilename = "") = 0;
  // Width of the part fields of AsRecordset: 80 when true, 32 when false.
  virtual bool LongParts() const = 0;
  virtual void LongParts(bool value) = 0;
};

// Record utilities of a connected database.
class VARNOCK_API IDSSUtilities : public virtual Object {
 public:
  virtual void Rename(const std::shared_ptr<Pathname>& FromPathname,
                      const std::shared_ptr<Pathname>& ToPathname) = 0;
  // Copies a record within this file, or into DestDB when one is given.
  virtual void Copy(const std::shared_ptr<Pathname>& FromPathname,
                    const std::shared_ptr<Pathname>& ToPathname,
                    const std::shared_ptr<DSSDatabase>& DestDB = nullptr) = 0;
  virtual void Delete(const std::shared_ptr<Pathname>& Pathname) = 0;
  virtual void Undelete(const std::shared_ptr<Pathname>& Pathname) = 0;
};

// Binds an object to one record of a DSS file reached through a DSSDatabase.
class VARNOCK_API IDSSRecord : public virtual Object {
 public:
  virtual void Store(const std::shared_ptr<DSSDatabase>& pDB) = 0;
  virtual void Retrieve(const std::shared_ptr<DSSDatabase>& pDB) = 0;
  // The object's own pathname (the same instance every time).
  virtual std::shared_ptr<varnock::Pathname> Pathname() = 0;
  virtual void Plan(DSSPlans value) = 0;
  virtual DSSPlans Plan() = 0;
  virtual void MissingIsError(bool value) = 0;
  virtual bool MissingIsError() = 0;
  virtual bool RecordExists(const std::shared_ptr<DSSDatabase>& pDB) = 0;
  virtual std::string RecordDataType(const std::shared_ptr<DSSDatabase>& pDB) = 0;
};

// Exchange with an HTSL document: naming properties are aliases of pathname parts A, B and C;
// the streaming operations refuse every call.
class VARNOCK_API IHTSLStream : public virtual Object {
 public:
  virtual std::string Domain() = 0;
  virtual void Domain(const std::string& value) = 0;
  virtual std::string Location() = 0;
  virtual void Location(const std::string& value) = 0;
  virtual std::string ValueType() = 0;
  virtual void ValueType(const std::string& value) = 0;
  virtual void FromDOM(const std::shared_ptr<Object>& pHTSL) = 0;
  virtual std::shared_ptr<Object> ToDOM() = 0;
};

// Transforms of a regular series, and its summary statistics.
class VARNOCK_API IRTSTransform : public virtual Object {
 public:
  // Aggregates the series to a coarser interval in place, by its TsType and Aggregation; leaves
  // it unchanged, silently, when the series does not line up with the new interval.
  virtual void ChangeInterval(int32_t NewInterval) = 0;
  // Recomputes the statistics from the values; reading a statistic never recomputes it.
  virtual void RefreshStatistics() = 0;
  virtual float MaxValue() = 0;
  virtual float MinValue() = 0;
  virtual float MeanValue() = 0;
  virtual int32_t MissingCount() = 0;
  // Each present value becomes the highest (lowest) present value so far.
  virtual void RunningMax() = 0;
  virtual void RunningMin() = 0;
  // Element-wise maximum with another series of the same count.
  virtual void SetMaximumFrom(const std::shared_ptr<RegularTimeSeries>& pRTS) = 0;
  // Not implemented: always raises.
  virtual void SetAsPeakSince() = 0;
  // A new series with this one's settings and values (not its pathname).
  virtual std::shared_ptr<RegularTimeSeries> Clone() = 0;
};

// Direct output of a series and import into it. A class that does not offer a member refuses
// it with 0x80044001.
class VARNOCK_API ITimeSeriesDirect : public virtual Object {
 public:
  // Puts a new array of the series into pArr: values (1 to n), or dates and values
  // (1 to n, 1 to 2) when IncludeDates.
  virtual void FillArray(Variant& pArr, bool IncludeDates);
  // Fills the series from timestamped readings of a recordset (its fields named by the two
  // field objects); the recordset itself is not moved.
  virtual void FromRecordset(std::shared_ptr<Recordset> pRS, std::shared_ptr<Field> DateTimeField,
                             std::shared_ptr<Field> DataField);
};

}  // namespace varnock

#endif  // VARNOCK_INTERFACES_H_
