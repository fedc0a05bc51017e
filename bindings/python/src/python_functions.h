// Python functions registered as built-ins of the expression language.
//
// The registry is process-wide: a function registered through any parser is
// callable from every parser. Arguments reach the function converted as
// convert.h describes (arrays without a copy) and its result comes back the
// same way. An exception raised by the function fails the evaluation with
// "NAME: TYPE: TEXT" and is kept as the cause of the quorvix.Error raised.
#ifndef QUORVIX_PYTHON_FUNCTIONS_H
#define QUORVIX_PYTHON_FUNCTIONS_H

#include <pybind11/pybind11.h>

#include <string>

namespace quorvix::python {

// Registers `function` as `name`, replacing a function registered here
// before. Throws Failure when a built-in, external or user function of the
// library holds the name. Call under the library guard.
void RegisterFunction(const std::string& name, pybind11::object function);

// Removes a function registered here; throws KeyError for any other name.
void UnregisterFunction(const std::string& name);

// The exception a registered function raised in the current evaluation, or
// None; forgotten once taken.
pybind11::object TakeRaised();

// True for a name the expression language can call or read: a letter or
// '_', then letters, digits and '_'.
bool IsName(const std::string& name);

}  // namespace quorvix::python

#endif
