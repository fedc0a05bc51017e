// Application information a host may supply. The default answers from the
// environment; a host subclasses it and installs it with MathParser::SetAppInfo.
#ifndef QUORVIX_APP_INFO_H
#define QUORVIX_APP_INFO_H

#include <string>

class VQApplicationInfo {
 public:
  virtual ~VQApplicationInfo() = default;
  // A named installation path ("home", "templates", ...); empty when unknown.
  virtual std::string GetSpecifiedPath(const std::string& which) const;
  // Processor architecture of the running product ("x86_64", ...).
  virtual std::string GetProductArchitecture() const;
  // Version text of the application (ORVANT_PROD_VER, else VERSION, else ours).
  virtual std::string GetApplicationVersion() const;
  // Installation root (ORVANT_HOME); empty when not set.
  virtual std::string GetOrvantHome() const;
};

#endif
