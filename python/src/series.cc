// RegularTimeSeries and IrregTimeSeries, with their bulk accessors and pickling.
#include <pybind11/numpy.h>

#include "common.h"

namespace varnock::python {

namespace {

using FloatArray = py::array_t<float, py::array::c_style | py::array::forcecast>;
using Int64Array = py::array_t<int64_t, py::array::c_style | py::array::forcecast>;
using Int32Array = py::array_t<int32_t, py::array::c_style | py::array::forcecast>;

// The value of a getter, or None when it raises (an unset start or window).
template <typename F>
py::object OrNone(F get) {
  try {
    return py::cast(get());
  } catch (const AutomationError&) {
    return py::none();
  }
}

int32_t CountOf(size_t n) {
  if (n > static_cast<size_t>(INT32_MAX - 1)) throw py::value_error("too many values for a series");
  return static_cast<int32_t>(n);
}

py::cpp_function WriteOnly(const char* name) {
  return py::cpp_function([name](py::object) -> py::object {
    throw py::attribute_error(std::string(name) + " is write-only");
  });
}

template <typename T>
FloatArray ValuesOf(T& series) {
  const int32_t n = series.ValueCount();
  FloatArray out(n);
  float* data = out.mutable_data();
  for (int32_t i = 0; i < n; ++i)
    data[i] = series.Value(i);
  return out;
}

template <typename T>
Int64Array TimesOf(T& series) {
  const int32_t n = series.ValueCount();
  Int64Array out(n);
  int64_t* data = out.mutable_data();
  for (int32_t i = 0; i < n; ++i)
    data[i] = DateToUnixSeconds(series.DateTime(i));
  return out;
}

std::string RangeText(py::object first, py::object last) {
  return py::cast<std::string>(py::str(first)) + " .. " + py::cast<std::string>(py::str(last));
}

// What both series kinds pickle alike: pathname parts, units, type, the missing-is-error flag
// and the Python attributes set on the object.
template <typename Series>
py::dict CommonState(const py::object& self_object, Series& self) {
  const auto& path = *self.Pathname();
  py::dict state;
  state["parts"] = py::make_tuple(path.Apart(), path.Bpart(), path.Cpart(), path.Dpart(),
                                  path.Epart(), path.Fpart());
  state["units"] = self.TsUnits();
  state["type"] = self.TsType();
  state["missing_is_error"] = self.MissingIsError();
  state["dict"] = py::hasattr(self_object, "__dict__") ? self_object.attr("__dict__") : py::dict();
  return state;
}

template <typename Series>
void RestoreCommon(const py::dict& state, Series& series) {
  auto parts = state["parts"].cast<std::vector<std::string>>();
  if (parts.size() != 6) throw py::value_error("a pathname state has six parts");
  std::string stored[6];
  std::copy(parts.begin(), parts.end(), stored);
  series.Pathname()->SetStoredParts(stored);
  series.TsUnits(state["units"].cast<std::string>());
  series.TsType(state["type"].cast<std::string>());
  series.MissingIsError(state["missing_is_error"].cast<bool>());
}

}  // namespace

void InitRegular(py::module_& m) {
  py::class_<RegularTimeSeries, IHTSLStream, ITimeSeriesDirect, IRTSTransform, IDSSRecord,
             std::shared_ptr<RegularTimeSeries>>(
      m, "RegularTimeSeries", py::dynamic_attr(),
      "HEC-DSS Regular Time Series: single-precision values from a start at a fixed interval.")
      .def(py::init([] { return std::make_shared<RegularTimeSeries>(); }))
      .def_property(
          "Aggregation", [](const RegularTimeSeries& self) { return self.AggregationValue(); },
          [](RegularTimeSeries& self, AggregationTypes value) { self.Aggregation(value); },
          "How values combine in ChangeInterval and FromRecordset (AggregationTypes)")
      .def("DateTime", py::overload_cast<int32_t>(&RegularTimeSeries::DateTime),
           py::arg("lngIndex"), "The date of value lngIndex (zero-based).")
      .def("SetDateTime", py::overload_cast<int32_t, Date>(&RegularTimeSeries::DateTime),
           py::arg("lngIndex"), py::arg("value"),
           "Always refused: a regular series' dates follow from its start and interval.")
      .VARNOCK_PROPERTY(RegularTimeSeries, TsUnits, "Units, held in upper case")
      .VARNOCK_PROPERTY(RegularTimeSeries, TsType,
                        "Data type (INST-VAL, PER-CUM ...), held in upper case")
      .def_property_readonly("TsOffset", &RegularTimeSeries::TsOffset,
                             "Time offset in minutes of the last retrieval")
      .VARNOCK_PROPERTY(RegularTimeSeries, Interval, "Time step in minutes (the pathname's E part)")
      .VARNOCK_PROPERTY(RegularTimeSeries, Starting, "Date of the first value")
      .VARNOCK_PROPERTY(RegularTimeSeries, ValueCount, "Number of values")
      .def("LastDateTime", &RegularTimeSeries::LastDateTime, py::arg("datDate"),
           py::arg("strInterval"))
      .def("SetAllMissing", &RegularTimeSeries::SetAllMissing)
      .def("Flag", py::overload_cast<int32_t>(&RegularTimeSeries::Flag, py::const_),
           py::arg("lngIndex"))
      .def("SetFlag", py::overload_cast<int32_t, int32_t>(&RegularTimeSeries::Flag),
           py::arg("lngIndex"), py::arg("value"))
      .def("Value", py::overload_cast<int32_t>(&RegularTimeSeries::Value, py::const_),
           py::arg("lngIndex"))
      .def("SetValue", py::overload_cast<int32_t, float>(&RegularTimeSeries::Value),
           py::arg("lngIndex"), py::arg("value"))
      .VARNOCK_PROPERTY(RegularTimeSeries, Ending,
                        "Date of the last value; setting it sets the count")
      .def(
          "ScriptQueryInterface",
          [](RegularTimeSeries& self, const std::string& name) {
            return ObjectToPython(self.ScriptQueryInterface(name));
          },
          py::arg("InterfaceType"),
          "This object seen through the interface named (the same object), or None.")
      .VARNOCK_PROPERTY(RegularTimeSeries, WindowStart, "Start of the user window")
      .VARNOCK_PROPERTY(RegularTimeSeries, WindowEnd, "End of the user window")
      .VARNOCK_PROPERTY(RegularTimeSeries, IntervalSnap, "Whether dates snap to interval ends")
      .VARNOCK_PROPERTY(RegularTimeSeries, UserWindow, "Whether the user window applies")
      .VARNOCK_PROPERTY(RegularTimeSeries, Padding,
                        "How sparse input fills open slots (PadMethods)")
      .def(
          "_values_array", [](RegularTimeSeries& self) { return ValuesOf(self); },
          "The values as a new float32 array (missing markers as stored).")
      .def(
          "_set_values_array",
          [](RegularTimeSeries& self, const FloatArray& values) {
            if (values.ndim() != 1) throw py::value_error("values must be one-dimensional");
            const int32_t n = CountOf(static_cast<size_t>(values.shape(0)));
            self.ValueCount(n);
            const float* data = values.data();
            for (int32_t i = 0; i < n; ++i)
              self.Value(i, data[i]);
          },
          py::arg("values"), "Sets ValueCount to len(values) and every value.")
      .def(
          "_times_array",
          [](RegularTimeSeries& self) {
            // Steps of up to a week are whole minutes from the start; months, years and the
            // snap to interval ends take the series' own date arithmetic.
            const int32_t interval = self.Interval();
            if (interval <= 0 || interval > 10080 || self.IntervalSnap() || self.ValueCount() == 0)
              return TimesOf(self);
            const int64_t first = DateToUnixSeconds(self.DateTime(0));
            Int64Array out(self.ValueCount());
            for (int32_t i = 0; i < self.ValueCount(); ++i)
              out.mutable_data()[i] = first + int64_t{60} * interval * i;
            return out;
          },
          "Seconds since 1970-01-01 of each value's date, as int64.")
      .def(
          "_flags_array",
          [](RegularTimeSeries& self) {
            Int32Array out(self.ValueCount());
            std::fill_n(out.mutable_data(), self.ValueCount(), 0);
            return out;
          },
          "Quality flags per value (a regular series keeps none: zeros).")
      .def("__len__", [](const RegularTimeSeries& self) { return self.ValueCount(); })
      .def("__repr__",
           [](py::object self_object) {
             auto& self = self_object.cast<RegularTimeSeries&>();
             std::string text = "<varnock.RegularTimeSeries " +
                                TrimBlanks(self.Pathname()->Name()) + " " +
                                std::to_string(self.ValueCount()) + " values";
             py::object first = OrNone([&] { return self.Starting(); });
             if (!first.is_none() && self.ValueCount() > 0) {
               text += " " + RangeText(first, OrNone([&] { return self.Ending(); }));
             }
             return text + ">";
           })
      .def(py::pickle(
          [](py::object self_object) {
            auto& self = self_object.cast<RegularTimeSeries&>();
            py::dict state = CommonState(self_object, self);
            state["starting"] = OrNone([&] { return self.Starting(); });
            state["window_start"] = OrNone([&] { return self.WindowStart(); });
            state["window_end"] = OrNone([&] { return self.WindowEnd(); });
            state["values"] = ValuesOf(self);
            state["plan"] = static_cast<int32_t>(self.Plan());
            state["padding"] = static_cast<int32_t>(self.Padding());
            state["aggregation"] = static_cast<int32_t>(self.AggregationValue());
            state["interval_snap"] = self.IntervalSnap();
            state["user_window"] = self.UserWindow();
            return state;
          },
          [](const py::dict& state) {
            auto ts = std::make_shared<RegularTimeSeries>();
            RestoreCommon(state, *ts);
            if (!state["starting"].is_none()) ts->Starting(state["starting"].cast<Date>());
            if (!state["window_start"].is_none())
              ts->WindowStart(state["window_start"].cast<Date>());
            if (!state["window_end"].is_none()) ts->WindowEnd(state["window_end"].cast<Date>());
            const auto values = state["values"].cast<FloatArray>();
            ts->ValueCount(CountOf(static_cast<size_t>(values.size())));
            for (int32_t i = 0; i < ts->ValueCount(); ++i)
              ts->Value(i, values.data()[i]);
            ts->Plan(static_cast<DSSPlans>(state["plan"].cast<int32_t>()));
            ts->Padding(static_cast<PadMethods>(state["padding"].cast<int32_t>()));
            ts->Aggregation(static_cast<AggregationTypes>(state["aggregation"].cast<int32_t>()));
            ts->IntervalSnap(state["interval_snap"].cast<bool>());
            ts->UserWindow(state["user_window"].cast<bool>());
            return std::make_pair(ts, state["dict"].cast<py::dict>());
          }));
}

void InitIrregular(py::module_& m) {
  py::class_<IrregTimeSeries, ITimeSeriesDirect, IDSSRecord, IHTSLStream,
             std::shared_ptr<IrregTimeSeries>>(
      m, "IrregTimeSeries", py::dynamic_attr(),
      "HEC-DSS Irregular Time Series: single-precision values, each with its own date.")
      .def(py::init([] { return std::make_shared<IrregTimeSeries>(); }))
      .def_property(
          "Aggregation", WriteOnly("Aggregation"),
          py::cpp_function([](IrregTimeSeries& self, int32_t value) { self.Aggregation(value); }),
          "How values combine (IrrAggregationTypes); write-only")
      .VARNOCK_PROPERTY(IrregTimeSeries, MergeOption,
                        "How Store meets data in the file (MergeOptions)")
      .VARNOCK_PROPERTY(IrregTimeSeries, TsUnits, "Units, held in upper case")
      .VARNOCK_PROPERTY(IrregTimeSeries, TsType,
                        "Data type (INST-VAL, PER-CUM ...), held in upper case")
      .def("Flag", py::overload_cast<int32_t>(&IrregTimeSeries::Flag, py::const_),
           py::arg("lngIndex"))
      .def("SetFlag", py::overload_cast<int32_t, int32_t>(&IrregTimeSeries::Flag),
           py::arg("lngIndex"), py::arg("value"))
      .VARNOCK_PROPERTY(IrregTimeSeries, ValueCount,
                        "Setting it discards every value, date and the window")
      .def("DateTime", py::overload_cast<int32_t>(&IrregTimeSeries::DateTime, py::const_),
           py::arg("lngIndex"))
      .def("SetDateTime", py::overload_cast<int32_t, Date>(&IrregTimeSeries::DateTime),
           py::arg("lngIndex"), py::arg("value"))
      .VARNOCK_PROPERTY(IrregTimeSeries, Starting,
                        "Start of the reading window; setting it empties the series")
      .def_property("Ending", WriteOnly("Ending"),
                    py::cpp_function([](IrregTimeSeries& self, Date value) { self.Ending(value); }),
                    "End of the reading window; write-only; setting it empties the series")
      .def("Value", py::overload_cast<int32_t>(&IrregTimeSeries::Value, py::const_),
           py::arg("lngIndex"))
      .def("SetValue", py::overload_cast<int32_t, float>(&IrregTimeSeries::Value),
           py::arg("lngIndex"), py::arg("value"))
      .def(
          "ScriptQueryInterface",
          [](IrregTimeSeries& self, const std::string& name) {
            return ObjectToPython(self.ScriptQueryInterface(name));
          },
          py::arg("InterfaceType"),
          "This object seen through the interface named (the same object), or None.")
      .def(
          "_values_array", [](IrregTimeSeries& self) { return ValuesOf(self); },
          "The values as a new float32 array (missing markers as stored).")
      .def(
          "_times_array", [](IrregTimeSeries& self) { return TimesOf(self); },
          "Seconds since 1970-01-01 of each value's date, as int64.")
      .def(
          "_flags_array",
          [](IrregTimeSeries& self) {
            const int32_t n = self.ValueCount();
            Int32Array out(n);
            for (int32_t i = 0; i < n; ++i)
              out.mutable_data()[i] = self.Flag(i);
            return out;
          },
          "Quality flags per value, as int32.")
      .def(
          "_set_times_values",
          [](IrregTimeSeries& self, const Int64Array& times, const FloatArray& values,
             py::object flags) {
            if (times.ndim() != 1 || values.ndim() != 1)
              throw py::value_error("times and values must be one-dimensional");
            if (times.shape(0) != values.shape(0))
              throw py::value_error("times and values differ in length");
            Int32Array flag_values;
            if (!flags.is_none()) {
              flag_values = flags.cast<Int32Array>();
              if (flag_values.ndim() != 1 || flag_values.shape(0) != values.shape(0))
                throw py::value_error("flags and values differ in length");
            }
            const int32_t n = CountOf(static_cast<size_t>(values.shape(0)));
            self.ValueCount(n);
            for (int32_t i = 0; i < n; ++i) {
              self.DateTime(i, UnixSecondsToDate(times.data()[i]));
              self.Value(i, values.data()[i]);
              if (!flags.is_none()) self.Flag(i, flag_values.data()[i]);
            }
          },
          py::arg("times_s"), py::arg("values"), py::arg("flags") = py::none(),
          "Sets ValueCount, each date (int64 seconds since 1970-01-01) and value in one call.")
      .def("__len__", [](const IrregTimeSeries& self) { return self.ValueCount(); })
      .def("__repr__",
           [](IrregTimeSeries& self) {
             std::string text = "<varnock.IrregTimeSeries " + TrimBlanks(self.Pathname()->Name()) +
                                " " + std::to_string(self.ValueCount()) + " values";
             if (self.ValueCount() > 0) {
               text +=
                   " " + RangeText(OrNone([&] { return self.DateTime(0); }),
                                   OrNone([&] { return self.DateTime(self.ValueCount() - 1); }));
             }
             return text + ">";
           })
      .def(py::pickle(
          [](py::object self_object) {
            auto& self = self_object.cast<IrregTimeSeries&>();
            py::dict state = CommonState(self_object, self);
            state["merge"] = static_cast<int32_t>(self.MergeOption());
            state["values"] = ValuesOf(self);
            state["times"] = TimesOf(self);
            py::list dates;
            for (int32_t i = 0; i < self.ValueCount(); ++i)
              dates.append(self.DateTime(i).Serial());
            state["serials"] = dates;
            Int32Array flags(self.ValueCount());
            for (int32_t i = 0; i < self.ValueCount(); ++i)
              flags.mutable_data()[i] = self.Flag(i);
            state["flags"] = flags;
            return state;
          },
          [](const py::dict& state) {
            auto its = std::make_shared<IrregTimeSeries>();
            RestoreCommon(state, *its);
            its->MergeOption(static_cast<MergeOptions>(state["merge"].cast<int32_t>()));
            const auto values = state["values"].cast<FloatArray>();
            const auto serials = state["serials"].cast<std::vector<double>>();
            const auto flags = state["flags"].cast<Int32Array>();
            const int32_t n = CountOf(static_cast<size_t>(values.size()));
            if (serials.size() != static_cast<size_t>(n) || flags.size() != n)
              throw py::value_error("dates, flags and values differ in count");
            its->ValueCount(n);
            for (int32_t i = 0; i < n; ++i) {
              its->DateTime(i, Date(serials[static_cast<size_t>(i)]));
              its->Value(i, values.data()[i]);
              its->Flag(i, flags.data()[i]);
            }
            return std::make_pair(its, state["dict"].cast<py::dict>());
          }));
}

}  // namespace varnock::python
