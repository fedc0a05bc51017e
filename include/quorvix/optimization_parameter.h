// One design parameter of a template, as a design-of-experiments host sees
// it: declared by the "parameter" statement and collected by DOEFiller.
//
// Ownership: the record owns `value` (freed with it); a DOEFiller owns the
// records of its parameter list.
#ifndef QUORVIX_OPTIMIZATION_PARAMETER_H
#define QUORVIX_OPTIMIZATION_PARAMETER_H

#include <string>
#include <vector>

#include "quorvix/symtab.h"

class OptimizationParameter {
 public:
  // A numeric parameter: nominal, lower and upper are kept as texts written
  // with "%f", and the value record holds the nominal value.
  OptimizationParameter(const char* name, const char* type, double nominal, double lower,
                        double upper);
  // A parameter from the texts of a declaration; its value is 0.0.
  OptimizationParameter(const char* name, const char* type, const char* nominal, const char* lower,
                        const char* upper);
  // A parameter with a list of allowed values; its value is 0.0.
  OptimizationParameter(const char* name, const char* type, std::vector<std::string> levels);
  OptimizationParameter(const OptimizationParameter& other);
  OptimizationParameter& operator=(const OptimizationParameter& other);
  ~OptimizationParameter();

  std::string name;
  std::string type;
  symtab* value = nullptr;  // named after the parameter; never null
  std::string nominal;
  std::string lower;
  std::string upper;
  std::vector<std::string> levels;
};

#endif  // QUORVIX_OPTIMIZATION_PARAMETER_H
