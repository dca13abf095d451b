#include "varnock/create_object.h"

#include <cctype>
#include <functional>
#include <string>

#include "varnock/database.h"
#include "varnock/error.h"
#include "varnock/irregular_time_series.h"
#include "varnock/paired_data.h"
#include "varnock/pathname.h"
#include "varnock/regular_time_series.h"

namespace varnock {

namespace {

struct Creatable {
  const char* name;  // upper case, after the library prefix
  std::shared_ptr<Object> (*create)();
};

template <typename T>
std::shared_ptr<Object> Make() {
  return std::make_shared<T>();
}

constexpr Creatable kCreatable[] = {
    {"DSSDATABASE", &Make<DSSDatabase>},
    {"PATHNAME", &Make<Pathname>},
    {"REGULARTIMESERIES", &Make<RegularTimeSeries>},
    {"IRREGTIMESERIES", &Make<IrregTimeSeries>},
    {"PAIREDDATA", &Make<PairedData>},
    {"GRIDDEDDATA", &Make<GriddedData>},
};

std::string UpperTrimmed(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
    text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
    text.remove_suffix(1);
  std::string upper(text);
  for (char& c : upper)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper;
}

}  // namespace

std::shared_ptr<Object> CreateObject(std::string_view prog_id) {
  const std::string wanted = UpperTrimmed(prog_id);
  const std::string prefix = UpperTrimmed(kLibraryTitle) + ".";
  if (wanted.starts_with(prefix)) {
    const std::string class_name = wanted.substr(prefix.size());
    for (const Creatable& entry : kCreatable) {
      if (class_name == entry.name) return entry.create();
    }
  }
  RaiseHostError(hostCannotCreateObject);
}

}  // namespace varnock
