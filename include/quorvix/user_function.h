// A user-defined function: a declaration "function name(a, b) { body }" whose
// body is template text. Registered functions are called with their
// arguments as variables of a private filler; the body's "return" value is
// the call's value.
#ifndef QUORVIX_USER_FUNCTION_H
#define QUORVIX_USER_FUNCTION_H

#include <vector>

class UserFunction {
 public:
  UserFunction();
  UserFunction(const UserFunction& other);
  UserFunction& operator=(const UserFunction& other);
  ~UserFunction();

  const char* Name() const { return name_; }
  void Name(const char* name);
  const char* FunctionText() const { return text_; }
  // Replaces the declaration text and parses it again.
  void FunctionText(const char* text);
  int NumArgs() const { return num_args_; }
  const char* ArgName(int i) const;
  bool Editable() const { return editable_; }
  void Editable(bool on) { editable_ = on; }
  int IsValid() const { return valid_; }
  const char* RegisteredName() const { return registered_name_; }

  // Registers `f` in the function registry; with `keep` the object is also
  // remembered in fn_list. Returns 1.
  static int Register(UserFunction* f, short keep);

  static int cntr;
  static std::vector<UserFunction*> fn_list;

 private:
  void p_ParseDeclaration();
  void FreeArgs();
  void CopyFrom(const UserFunction& other);

  char* registered_name_ = nullptr;
  bool editable_ = true;
  char* name_ = nullptr;
  char* text_ = nullptr;
  char** arg_names_ = nullptr;
  int num_args_ = 0;
  int valid_ = 1;
};

#endif
