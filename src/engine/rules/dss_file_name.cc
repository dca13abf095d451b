#include "engine/rules/dss_file_name.h"

#include "engine/rules/fixed_text.h"

namespace varnock::engine {

bool NormaliseDssFileName(std::string_view name, std::string* out) {
  out->clear();
  name = TrimBlanks(name);
  if (name.size() >= 2 && name.front() == '"' && name.back() == '"') {
    name = name.substr(1, name.size() - 2);
  }
  if (TrimBlanks(name).empty()) return false;
  out->assign(name);
  if (name.size() < 4 || name[name.size() - 4] != '.') out->append(".dss");
  return true;
}

}  // namespace varnock::engine
