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

class DSSDatabase;

// A listing of every record of a connected database.
class VARNOCK_API IDSSCatalog : public virtual Object {
 public:
  // Has HECLIB write a new catalog file (by default beside the database, ".dsc" for ".dss").
  virtual void MakeNewCatalog(const std::string& DestFilename = "") = 0;
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

}  // namespace varnock

#endif  // VARNOCK_INTERFACES_H_
