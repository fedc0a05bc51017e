// How the built-in table reaches the registry. The built-in families sit in
// a layer above the expression service, so the service cannot call them;
// the built-in layer hands its registration function over when the library
// is loaded, and every MathParser constructed on an empty registry calls it.
#ifndef QUORVIX_EXPRESSION_BUILTIN_REGISTRAR_H
#define QUORVIX_EXPRESSION_BUILTIN_REGISTRAR_H

namespace quorvix {

using BuiltinRegistrar = void (*)();
void SetBuiltinRegistrar(BuiltinRegistrar registrar);

}  // namespace quorvix

#endif
