// DOEFiller: the host's operations on the parameter list, and the fill.
#include <utility>

#include "quorvix/filler.h"
#include "template/engine.h"

DOEFiller::DOEFiller(const DOEFiller& other) : FillerBase(other) {
  for (const auto& [name, p] : other.parameters_)
    parameters_[name] = std::make_unique<OptimizationParameter>(*p);
}

DOEFiller& DOEFiller::operator=(const DOEFiller& other) {
  if (this != &other) {
    DOEFiller copy(other);
    FillerBase::operator=(other);
    parameters_ = std::move(copy.parameters_);
  }
  return *this;
}

char* DOEFiller::Fill(const char* text, char** errors) { return engine_->FillText(text, errors); }

int DOEFiller::FillFileTo(const char* path, quorvix::OutputSink& sink, char** errors) {
  if (path == nullptr) {
    if (errors != nullptr) *errors = nullptr;
    return -1;
  }
  return engine_->FillTo(sink, nullptr, path, errors);
}

OptimizationParameter* DOEFiller::SetOptimizationParameter(const char* name, const char* type,
                                                           double nominal, double lower,
                                                           double upper) {
  auto* p = new OptimizationParameter(name, type, nominal, lower, upper);
  _SetOptimizationParameter(name, p);
  return p;
}

OptimizationParameter* DOEFiller::SetOptimizationParameter(const char* name, const char* type,
                                                           const char* nominal, const char* lower,
                                                           const char* upper) {
  auto* p = new OptimizationParameter(name, type, nominal, lower, upper);
  _SetOptimizationParameter(name, p);
  return p;
}

OptimizationParameter* DOEFiller::SetOptimizationParameter(const char* name, const char* type,
                                                           std::vector<std::string> levels) {
  auto* p = new OptimizationParameter(name, type, std::move(levels));
  _SetOptimizationParameter(name, p);
  return p;
}

void DOEFiller::_SetOptimizationParameter(const char* name, OptimizationParameter* p) {
  if (p == nullptr) return;
  auto it = parameters_.find(name ? name : "");
  if (it != parameters_.end() && it->second.get() == p) return;  // already stored
  std::unique_ptr<OptimizationParameter> owned(p);
  parameters_[name ? name : ""] = std::move(owned);
}

OptimizationParameter* DOEFiller::GetOptimizationParameter(const char* name) {
  if (name == nullptr) return nullptr;
  auto it = parameters_.find(name);
  return it == parameters_.end() ? nullptr : it->second.get();
}

void DOEFiller::InitializeOptimizationParameters(MathParser* from) {
  MathParser* parser = engine_->parser();
  if (parser == nullptr) return;
  // The records are brought up to date before the stack is cleared, so that
  // `from` may be the filler's own parser.
  if (from != nullptr) {
    const auto& vars = from->Variables();
    for (auto& [name, p] : parameters_) {
      auto it = vars.find(name);
      if (it == vars.end() || it->second->type == SYM_UNDEFINED) continue;
      auto* copy = new symtab(*it->second);
      copy->shared = 0;
      copy->SetName(name.c_str());
      p->value->Delete();
      p->value = copy;
    }
  }
  parser->ClearStack();
  for (auto& [name, p] : parameters_) parser->AddVariable(p->value);
}
