// PairedData with its bulk accessors and pickling, and the GriddedData placeholder.
#include <pybind11/numpy.h>

#include "common.h"

namespace varnock::python {

namespace {

using FloatArray = py::array_t<float, py::array::c_style | py::array::forcecast>;

FloatArray Ordinates(const PairedData& self) {
  FloatArray out(self.Nord());
  for (int32_t i = 0; i < self.Nord(); ++i)
    out.mutable_data()[i] = self.XValue(i);
  return out;
}

FloatArray Curves(const PairedData& self) {
  FloatArray out({static_cast<py::ssize_t>(self.Ncurve()), static_cast<py::ssize_t>(self.Nord())});
  float* data = out.mutable_data();
  for (int32_t c = 0; c < self.Ncurve(); ++c)
    for (int32_t i = 0; i < self.Nord(); ++i)
      *data++ = self.YValue(c, i);
  return out;
}

std::vector<std::string> Labels(const PairedData& self) {
  std::vector<std::string> labels;
  for (int32_t c = 0; c < self.Ncurve(); ++c)
    labels.push_back(self.LABEL(c));
  return labels;
}

int16_t CountFitting(py::ssize_t n, const char* what) {
  if (n > INT16_MAX)
    throw py::value_error(std::string("too many ") + what + " for paired data (at most 32767)");
  return static_cast<int16_t>(n);
}

// Sizes the record from the shapes of the arrays and fills it.
void SetArrays(PairedData& self, const FloatArray& ordinates, FloatArray curves,
               py::object labels) {
  if (ordinates.ndim() != 1) throw py::value_error("ordinates must be one-dimensional");
  if (curves.ndim() == 1) curves = curves.reshape({py::ssize_t{1}, curves.shape(0)});
  if (curves.ndim() != 2) throw py::value_error("curves must be one- or two-dimensional");
  if (curves.shape(1) != ordinates.shape(0))
    throw py::value_error("each curve needs one value per ordinate");
  std::vector<std::string> names;
  if (!labels.is_none()) {
    names = labels.cast<std::vector<std::string>>();
    if (static_cast<py::ssize_t>(names.size()) != curves.shape(0))
      throw py::value_error("one label per curve is needed");
  }
  const int16_t nord = CountFitting(ordinates.shape(0), "ordinates");
  const int16_t ncurve = CountFitting(curves.shape(0), "curves");
  self.SetNcurveNord(ncurve, nord);
  for (int32_t i = 0; i < nord; ++i)
    self.XValue(i, ordinates.data()[i]);
  const float* data = curves.data();
  for (int32_t c = 0; c < ncurve; ++c)
    for (int32_t i = 0; i < nord; ++i)
      self.YValue(c, i, *data++);
  for (size_t c = 0; c < names.size(); ++c)
    self.LABEL(static_cast<int32_t>(c), names[c]);
}

}  // namespace

void InitPaired(py::module_& m) {
  py::class_<PairedData, IDSSRecord, std::shared_ptr<PairedData>>(
      m, "PairedData", py::dynamic_attr(),
      "Paired data: first-axis ordinates shared by one or more curves of second-axis values.")
      .def(py::init([] { return std::make_shared<PairedData>(); }))
      .VARNOCK_PROPERTY(PairedData, Horizontal, "The axis drawn horizontally (PDAxes)")
      .def_property_readonly("Nord", &PairedData::Nord, "Number of ordinates")
      .def_property_readonly("Ncurve", &PairedData::Ncurve, "Number of curves")
      .def("SetNcurveNord", &PairedData::SetNcurveNord, py::arg("NewNcurve"), py::arg("NewNord"),
           "Sets both counts and clears values and labels.")
      .def("Units", py::overload_cast<PDAxes>(&PairedData::Units, py::const_), py::arg("Axis"))
      .def("SetUnits", py::overload_cast<PDAxes, const std::string&>(&PairedData::Units),
           py::arg("Axis"), py::arg("value"))
      .def("PdType", py::overload_cast<PDAxes>(&PairedData::PdType, py::const_), py::arg("Axis"))
      .def("SetPdType", py::overload_cast<PDAxes, const std::string&>(&PairedData::PdType),
           py::arg("Axis"), py::arg("value"))
      .def("LABEL", py::overload_cast<int32_t>(&PairedData::LABEL, py::const_), py::arg("CurveNo"))
      .def("SetLABEL", py::overload_cast<int32_t, const std::string&>(&PairedData::LABEL),
           py::arg("CurveNo"), py::arg("value"))
      .def("XValue", py::overload_cast<int32_t>(&PairedData::XValue, py::const_), py::arg("OrdNo"))
      .def("SetXValue", py::overload_cast<int32_t, float>(&PairedData::XValue), py::arg("OrdNo"),
           py::arg("value"))
      .def("YValue", py::overload_cast<int32_t, int32_t>(&PairedData::YValue, py::const_),
           py::arg("CurveNo"), py::arg("OrdNo"))
      .def("SetYValue", py::overload_cast<int32_t, int32_t, float>(&PairedData::YValue),
           py::arg("CurveNo"), py::arg("OrdNo"), py::arg("value"))
      .def("AsXmlString", &PairedData::AsXmlString)
      .def("_ordinates_array", &Ordinates, "The first-axis ordinates as a new float32 array.")
      .def("_curves_array", &Curves, "The curves as a new float32 array of shape (Ncurve, Nord).")
      .def("_labels", &Labels, "The curve labels.")
      .def("_set_arrays", &SetArrays, py::arg("ordinates"), py::arg("curves"),
           py::arg("labels") = py::none(),
           "Sizes the record from the shapes (a 1-D curves array is one curve) and fills it.")
      .def("__repr__",
           [](PairedData& self) {
             return "<varnock.PairedData " + TrimBlanks(self.Pathname()->Name()) + " " +
                    std::to_string(self.Ncurve()) + " curves x " + std::to_string(self.Nord()) +
                    " ordinates>";
           })
      .def(py::pickle(
          [](py::object self_object) {
            auto& self = self_object.cast<PairedData&>();
            const auto& path = *self.Pathname();
            py::dict state;
            state["parts"] = py::make_tuple(path.Apart(), path.Bpart(), path.Cpart(), path.Dpart(),
                                            path.Epart(), path.Fpart());
            state["horizontal"] = static_cast<int32_t>(self.Horizontal());
            state["units"] = py::make_tuple(self.Units(axFirstAxis), self.Units(axSecondAxis));
            state["types"] = py::make_tuple(self.PdType(axFirstAxis), self.PdType(axSecondAxis));
            state["plan"] = static_cast<int32_t>(self.Plan());
            state["ordinates"] = Ordinates(self);
            state["curves"] = Curves(self);
            state["labels"] = Labels(self);
            state["dict"] =
                py::hasattr(self_object, "__dict__") ? self_object.attr("__dict__") : py::dict();
            return state;
          },
          [](const py::dict& state) {
            auto pd = std::make_shared<PairedData>();
            auto parts = state["parts"].cast<std::vector<std::string>>();
            if (parts.size() != 6) throw py::value_error("a pathname state has six parts");
            std::string stored[6];
            std::copy(parts.begin(), parts.end(), stored);
            pd->Pathname()->SetStoredParts(stored);
            pd->Horizontal(static_cast<PDAxes>(state["horizontal"].cast<int32_t>()));
            auto units = state["units"].cast<std::pair<std::string, std::string>>();
            auto types = state["types"].cast<std::pair<std::string, std::string>>();
            pd->Units(axFirstAxis, units.first);
            pd->Units(axSecondAxis, units.second);
            pd->PdType(axFirstAxis, types.first);
            pd->PdType(axSecondAxis, types.second);
            pd->Plan(static_cast<DSSPlans>(state["plan"].cast<int32_t>()));
            auto ordinates = state["ordinates"].cast<FloatArray>();
            if (ordinates.size() > 0 || state["curves"].cast<FloatArray>().size() > 0)
              SetArrays(*pd, ordinates, state["curves"].cast<FloatArray>(), state["labels"]);
            return std::make_pair(pd, state["dict"].cast<py::dict>());
          }));

  py::class_<GriddedData, IDSSRecord, std::shared_ptr<GriddedData>>(
      m, "GriddedData",
      "A placeholder record: refuses Retrieve and Store, asks the database about existence.")
      .def(py::init([] { return std::make_shared<GriddedData>(); }));
}

}  // namespace varnock::python
