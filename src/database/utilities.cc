// DSSDatabase as IDSSUtilities, and the record-existence and record-type gateways.
#include "database/errors.h"
#include "varnock/database.h"

namespace varnock {

namespace {

// HECLIB takes pathname lengths literally, so the 80-column name goes with its trimmed length.
int32_t TrimmedLength(const std::string& name) {
  return static_cast<int32_t>(TrimTrailingBlanks(name).size());
}

const Pathname& Required(const std::shared_ptr<Pathname>& path) {
  if (!path) throw database::Error(dssBadPathname, "Pathname property not set");
  return *path;
}

std::string UndeleteFailureText(int32_t status, const std::string& name) {
  switch (status) {
    case 1:
      return "No deleted record found:" + name;
    case 2:
      return "Record already exists:" + name;
    default:
      return "Unable to undelete " + TrimTrailingBlanks(name) + ". ISTAT is " +
             std::to_string(status);
  }
}

}  // namespace

void DSSDatabase::Rename(const std::shared_ptr<Pathname>& FromPathname,
                         const std::shared_ptr<Pathname>& ToPathname) {
  RequireConnection();
  const std::string from = Required(FromPathname).Name();
  const std::string to = Required(ToPathname).Name();
  if (!hecZrenam(ifltab_, from, TrimmedLength(from), to, TrimmedLength(to)))
    throw database::Error(dssBadPathname, "Pathname not found:" + from);
}

void DSSDatabase::Copy(const std::shared_ptr<Pathname>& FromPathname,
                       const std::shared_ptr<Pathname>& ToPathname,
                       const std::shared_ptr<DSSDatabase>& DestDB) {
  RequireConnection();
  const std::string from = Required(FromPathname).Name();
  const std::string to = Required(ToPathname).Name();
  FileTable* target = &ifltab_;
  if (DestDB) {
    if (!DestDB->IsConnected()) throw database::Error(dssNotOpen, "Destination database not open");
    target = &DestDB->ifltab_;
  }
  istat_ = hecZcorec(ifltab_, *target, from, to);
  if (istat_ == 1) throw database::Error(dssHeclibError, "Pathname not found:" + from);
  if (istat_ != 0) {
    throw database::Error(dssHeclibError, "Unable to copy " + TrimTrailingBlanks(from) +
                                              ". ISTAT is " + std::to_string(istat_));
  }
}

void DSSDatabase::Delete(const std::shared_ptr<Pathname>& Pathname) {
  RequireConnection();
  const std::string name = Required(Pathname).Name();
  if (!hecZdelet(ifltab_, name, TrimmedLength(name)))
    throw database::Error(dssBadPathname, "Pathname not found:" + name);
}

void DSSDatabase::Undelete(const std::shared_ptr<Pathname>& Pathname) {
  RequireConnection();
  const std::string name = Required(Pathname).Name();
  istat_ = hecZundel(ifltab_, name, TrimmedLength(name));
  if (istat_ != 0) throw database::Error(dssHeclibError, UndeleteFailureText(istat_, name));
}

bool DSSDatabase::RecordExistsGateway(const Pathname& pathname) {
  RequireConnection();
  return hecZdtype(ifltab_, pathname.Name()).found;
}

std::string DSSDatabase::RecordTypeGateway(const Pathname& pathname) {
  RequireConnection();
  return TrimTrailingBlanks(hecZdtype(ifltab_, pathname.Name()).type_code);
}

}  // namespace varnock
