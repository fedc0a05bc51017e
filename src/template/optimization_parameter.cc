// The record of one design parameter.
#include "quorvix/optimization_parameter.h"

#include <cstdio>
#include <utility>

namespace {

std::string FormatF(double v) {
  char buffer[512];
  std::snprintf(buffer, sizeof buffer, "%f", v);
  return buffer;
}

symtab* NamedScalar(const std::string& name, double v) {
  auto* rec = new symtab;
  rec->SetName(name.c_str());
  rec->SetScalar(v);
  return rec;
}

}  // namespace

OptimizationParameter::OptimizationParameter(const char* name_, const char* type_, double nominal_,
                                             double lower_, double upper_)
    : name(name_ ? name_ : ""),
      type(type_ ? type_ : ""),
      value(NamedScalar(name, nominal_)),
      nominal(FormatF(nominal_)),
      lower(FormatF(lower_)),
      upper(FormatF(upper_)) {}

OptimizationParameter::OptimizationParameter(const char* name_, const char* type_,
                                             const char* nominal_, const char* lower_,
                                             const char* upper_)
    : name(name_ ? name_ : ""),
      type(type_ ? type_ : ""),
      value(NamedScalar(name, 0.0)),
      nominal(nominal_ ? nominal_ : ""),
      lower(lower_ ? lower_ : ""),
      upper(upper_ ? upper_ : "") {}

OptimizationParameter::OptimizationParameter(const char* name_, const char* type_,
                                             std::vector<std::string> levels_)
    : name(name_ ? name_ : ""),
      type(type_ ? type_ : ""),
      value(NamedScalar(name, 0.0)),
      levels(std::move(levels_)) {}

OptimizationParameter::OptimizationParameter(const OptimizationParameter& other)
    : name(other.name),
      type(other.type),
      value(new symtab(*other.value)),
      nominal(other.nominal),
      lower(other.lower),
      upper(other.upper),
      levels(other.levels) {
  value->shared = 0;
}

OptimizationParameter& OptimizationParameter::operator=(const OptimizationParameter& other) {
  if (this != &other) {
    OptimizationParameter copy(other);
    std::swap(name, copy.name);
    std::swap(type, copy.type);
    std::swap(value, copy.value);
    std::swap(nominal, copy.nominal);
    std::swap(lower, copy.lower);
    std::swap(upper, copy.upper);
    std::swap(levels, copy.levels);
  }
  return *this;
}

OptimizationParameter::~OptimizationParameter() {
  if (value != nullptr) value->Delete();
}
