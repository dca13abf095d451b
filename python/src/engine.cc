// varnock._varnock._engine: the engine's own API for what the automation classes cannot carry.
#include "common.h"

namespace varnock::python {

void InitEngine(py::module_& m) {
  m.def_submodule("_engine", "Private: the DSS engine's own API.");
}

}  // namespace varnock::python
