// Shared pieces of the extension varnock._varnock: conversions between the automation types
// and Python values, the enumerations as IntEnum classes, and the guard of engine calls.
#ifndef VARNOCK_PYTHON_COMMON_H_
#define VARNOCK_PYTHON_COMMON_H_

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "varnock/varnock.h"

namespace varnock::python {

namespace py = pybind11;

// Every call that reaches the frame and the engine releases the GIL and takes the one lock of
// the process-wide HECLIB state (its options and file tables are shared by all objects).
std::mutex& FrameMutex();
struct EngineCall {
  py::gil_scoped_release release;
  std::lock_guard<std::mutex> lock{FrameMutex()};
};

// A new DSSDatabase whose destruction (which closes its file) waits for the frame's lock.
std::shared_ptr<DSSDatabase> NewDatabase();

// Seconds since 1970-01-01 00:00 of an automation date (its own clock, no time zone), rounded
// to the second, and back. Dates before 30 December 1899 keep the automation rule that the
// fraction counts forward from midnight.
int64_t DateToUnixSeconds(Date date);
Date UnixSecondsToDate(int64_t seconds);

py::object DateToPython(Date date);
// datetime.datetime / date, numpy.datetime64, date text, or a serial number.
bool DateFromPython(py::handle value, Date& out);
py::object VariantToPython(const Variant& value);
Variant VariantFromPython(py::handle value);
// A bound object as the automation Object, or nullptr when `value` is none of ours; and back
// (None for Nothing).
std::shared_ptr<Object> ObjectFromPython(py::handle value);
py::object ObjectToPython(const std::shared_ptr<Object>& object);

// The IntEnum class of an enumeration, and a value as its member (a plain int when the
// enumeration has no such member).
py::object EnumClass(const char* name);
py::object EnumMember(const char* name, int32_t value);

// The module's Null singleton.
py::object NullObject();

// Class families, each in its own file.
void InitErrorsAndValues(py::module_& m);
void InitEnums(py::module_& m);
void InitAutomation(py::module_& m);
void InitPathname(py::module_& m);
void InitInterfaces(py::module_& m);
void InitDatabase(py::module_& m);
void InitRegular(py::module_& m);
void InitIrregular(py::module_& m);
void InitPaired(py::module_& m);
void InitEngine(py::module_& m);

}  // namespace varnock::python

// Casters: Date <-> datetime.datetime, Variant <-> Python values, enumerations <-> IntEnum.
namespace pybind11::detail {

template <>
struct type_caster<varnock::Date> {
  PYBIND11_TYPE_CASTER(varnock::Date, const_name("datetime.datetime"));
  bool load(handle src, bool) { return varnock::python::DateFromPython(src, value); }
  static handle cast(varnock::Date src, return_value_policy, handle) {
    return varnock::python::DateToPython(src).release();
  }
};

template <>
struct type_caster<varnock::Variant> {
  PYBIND11_TYPE_CASTER(varnock::Variant, const_name("object"));
  bool load(handle src, bool) {
    value = varnock::python::VariantFromPython(src);
    return true;
  }
  static handle cast(const varnock::Variant& src, return_value_policy, handle) {
    return varnock::python::VariantToPython(src).release();
  }
};

template <typename E>
struct int_enum_caster {
  PYBIND11_TYPE_CASTER(E, const_name("int"));
  bool load(handle src, bool) {
    if (!src || !PyLong_Check(src.ptr())) return false;
    const long long v = PyLong_AsLongLong(src.ptr());
    if ((v == -1 && PyErr_Occurred()) || v < INT32_MIN || v > INT32_MAX) {
      PyErr_Clear();
      return false;
    }
    value = static_cast<E>(v);
    return true;
  }
};

#define VARNOCK_INT_ENUM(Type)                                                        \
  template <>                                                                         \
  struct type_caster<varnock::Type> : int_enum_caster<varnock::Type> {                \
    static handle cast(varnock::Type src, return_value_policy, handle) {              \
      return varnock::python::EnumMember(#Type, static_cast<int32_t>(src)).release(); \
    }                                                                                 \
  };
VARNOCK_INT_ENUM(DSSErrors)
VARNOCK_INT_ENUM(StepMethods)
VARNOCK_INT_ENUM(DSSPlans)
VARNOCK_INT_ENUM(AggregationTypes)
VARNOCK_INT_ENUM(PadMethods)
VARNOCK_INT_ENUM(MergeOptions)
VARNOCK_INT_ENUM(IrrAggregationTypes)
VARNOCK_INT_ENUM(PDAxes)
VARNOCK_INT_ENUM(DataTypeEnum)
VARNOCK_INT_ENUM(CursorTypeEnum)
VARNOCK_INT_ENUM(LockTypeEnum)
VARNOCK_INT_ENUM(VariantType)
#undef VARNOCK_INT_ENUM

}  // namespace pybind11::detail

// A property of the automation kind: the get is T::Name(), the let T::Name(value).
#define VARNOCK_PROPERTY(T, Name, ...)                                       \
  def_property(                                                              \
      #Name, [](T& self) { return self.Name(); },                            \
      [](T& self, std::decay_t<decltype(std::declval<T&>().Name())> value) { \
        self.Name(std::move(value));                                         \
      },                                                                     \
      ##__VA_ARGS__)

#endif  // VARNOCK_PYTHON_COMMON_H_
