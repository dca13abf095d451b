#include "series/series_common.h"
#include "varnock/database.h"
#include "varnock/error.h"
#include "varnock/paired_data.h"

namespace varnock {

GriddedData::GriddedData() : pathname_(std::make_shared<varnock::Pathname>()) {}

void GriddedData::Store(const std::shared_ptr<DSSDatabase>&) {
  throw series::NotSupported("GriddedData", "Store");
}

void GriddedData::Retrieve(const std::shared_ptr<DSSDatabase>&) {
  throw series::NotSupported("GriddedData", "Retrieve");
}

bool GriddedData::RecordExists(const std::shared_ptr<DSSDatabase>& pDB) {
  return series::RequireDatabase(pDB).RecordExistsGateway(*pathname_);
}

std::string GriddedData::RecordDataType(const std::shared_ptr<DSSDatabase>& pDB) {
  return series::RequireDatabase(pDB).RecordTypeGateway(*pathname_);
}

}  // namespace varnock
