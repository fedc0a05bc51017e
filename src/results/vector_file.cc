#include "quorvix/vector_file.h"

#include <algorithm>
#include <cstring>

#include "results/reader_registration.h"
#include "results/result_cache.h"
#include "util/search_path.h"

using quorvix::results::Address;
using quorvix::results::CachedFile;
using quorvix::results::CurrentPolicy;

namespace {

thread_local int suspended_file_not_found = 0;

bool Same(const std::string& a, const char* b) { return b != nullptr && a == b; }

}  // namespace

std::string VectorFileList::FindPath(const std::string& name) {
  std::string refusal;
  return quorvix::FindOnSearchPath(CurrentPolicy(), name, refusal);
}

std::shared_ptr<VectorFileControl> VectorFileList::Add(int subcase, const std::string& path) {
  std::string why;
  bool missing = false;
  auto file = quorvix::results::OpenResultFile(path, CurrentPolicy(), &why, &missing);
  if (file == nullptr) {
    if (!missing || !Importlib::SuspendFileNotFound::Active())
      quorvix::ReportWarning(why, MathParser::current_parser);
    return nullptr;
  }
  return std::make_shared<VectorFileControl>(std::move(file), subcase);
}

VectorFileControl::VectorFileControl(std::shared_ptr<CachedFile> file, int subcase)
    : file_(std::move(file)), subcase_(subcase) {}

VectorFileControl::~VectorFileControl() = default;

const std::string& VectorFileControl::Path() const { return file_->path(); }

namespace {

const quorvix::results::Subcase* SubcaseOf(const CachedFile& file, int subcase) {
  const auto& subcases = file.tree().subcases;
  if (subcase < 0 || static_cast<std::size_t>(subcase) >= subcases.size()) return nullptr;
  return &subcases[subcase];
}

const quorvix::results::DataType* TypeOf(const CachedFile& file, int subcase, int type) {
  const auto* s = SubcaseOf(file, subcase);
  if (s == nullptr || type < 0 || static_cast<std::size_t>(type) >= s->types.size()) return nullptr;
  return &s->types[type];
}

template <typename T, typename Name>
int IndexOf(const std::vector<T>& list, const char* name, Name of) {
  if (name == nullptr) return -1;
  for (std::size_t i = 0; i < list.size(); ++i)
    if (Same(of(list[i]), name)) return static_cast<int>(i);
  return -1;
}

}  // namespace

int VectorFileControl::GetDataTypeIndex(const char* type, const char* request,
                                        const char* component, void*) const {
  const auto* s = SubcaseOf(*file_, subcase_);
  if (s == nullptr) return -1;
  for (std::size_t t = 0; t < s->types.size(); ++t) {
    if (!Same(s->types[t].name, type)) continue;
    const int ti = static_cast<int>(t);
    if (request != nullptr && *request != '\0' && GetRequestIndex(ti, request) < 0) continue;
    if (component != nullptr && *component != '\0' && GetComponentIndex(ti, component) < 0)
      continue;
    return ti;
  }
  return -1;
}

int VectorFileControl::GetRequestIndex(int type, const char* request, void*) const {
  const auto* t = TypeOf(*file_, subcase_, type);
  if (t == nullptr) return -1;
  return IndexOf(t->requests, request, [](const auto& r) -> const std::string& { return r.name; });
}

int VectorFileControl::GetComponentIndex(int type, const char* component, void*) const {
  const auto* t = TypeOf(*file_, subcase_, type);
  if (t == nullptr) return -1;
  for (const auto& r : t->requests) {
    int i = IndexOf(r.components, component,
                    [](const auto& c) -> const std::string& { return c.name; });
    if (i >= 0) return i;
  }
  return -1;
}

int VectorFileControl::GetSubcaseIndexFromLabel(const char* label) const {
  return IndexOf(file_->tree().subcases, label,
                 [](const auto& s) -> const std::string& { return s.label; });
}

int VectorFileControl::GetNumSubcases() const {
  return static_cast<int>(file_->tree().subcases.size());
}

int VectorFileControl::GetNumDatatypes() const {
  const auto* s = SubcaseOf(*file_, subcase_);
  return s != nullptr ? static_cast<int>(s->types.size()) : 0;
}

int VectorFileControl::GetNumRequests(int type) const {
  const auto* t = TypeOf(*file_, subcase_, type);
  return t != nullptr ? static_cast<int>(t->requests.size()) : 0;
}

int VectorFileControl::GetNumComponents(int type) const {
  const auto* t = TypeOf(*file_, subcase_, type);
  std::size_t most = 0;
  if (t != nullptr)
    for (const auto& r : t->requests) most = std::max(most, r.components.size());
  return static_cast<int>(most);
}

const ValuePair* VectorFileControl::PairAt(int subcase, int type, int request, int component,
                                           long long element) {
  std::string text;
  if (!file_->ElementText(subcase, {type, request, component}, element, text)) return nullptr;
  pair_ = {std::move(text), type, request, component, element};
  pair_subcase_ = subcase;
  return &pair_;
}

const ValuePair* VectorFileControl::qdfGetValuePair(const char* variable, int record, int entity) {
  const auto* s = SubcaseOf(*file_, record);
  Address at;
  if (s == nullptr || variable == nullptr || !quorvix::results::FindByName(*s, variable, at))
    return nullptr;
  return PairAt(record, at.type, at.request, at.component, entity);
}

const ValuePair* VectorFileControl::qdfGetValuePair(int type, int request, int component) {
  return PairAt(subcase_, type, request, component, 0);
}

const ValuePair* VectorFileControl::qdfGetNextValuePair(const ValuePair* pair) {
  if (pair == nullptr) return nullptr;
  const ValuePair at = *pair;  // `pair` may be pair_ itself
  return PairAt(pair == &pair_ ? pair_subcase_ : subcase_, at.type, at.request, at.component,
                at.element + 1);
}

void VectorFileControl::SetMark(int type, int request, int component, bool all) {
  marks_.push_back({type, request, component, all});
}

bool VectorFileControl::GetData() {
  bool ok = true;
  const auto& subcases = file_->tree().subcases;
  for (const Mark& m : marks_) {
    if (!m.all) {
      ok &= file_->Load(subcase_, {m.type, m.request, m.component}, nullptr);
      continue;
    }
    for (std::size_t s = 0; s < subcases.size(); ++s) {
      const auto& types = subcases[s].types;
      for (std::size_t t = 0; t < types.size(); ++t)
        for (std::size_t r = 0; r < types[t].requests.size(); ++r)
          for (std::size_t c = 0; c < types[t].requests[r].components.size(); ++c)
            ok &= file_->Load(static_cast<int>(s),
                              {static_cast<int>(t), static_cast<int>(r), static_cast<int>(c)},
                              nullptr);
    }
  }
  marks_.clear();
  return ok;
}

std::optional<std::vector<double>> VectorFileControl::Read(int subcase, int type, int request,
                                                           int component) {
  std::vector<double> out;
  std::string why;
  if (!file_->Values(subcase, {type, request, component}, out, &why)) {
    if (!why.empty()) quorvix::ReportWarning(why, MathParser::current_parser);
    return std::nullopt;
  }
  return out;
}

const std::string& VectorFileControl::Format() const { return file_->tree().format; }

std::string VectorFileControl::GetSubcaseLabel(int subcase) const {
  const auto* s = SubcaseOf(*file_, subcase);
  return s != nullptr ? s->label : std::string();
}

std::string VectorFileControl::GetDataTypeName(int type) const {
  const auto* t = TypeOf(*file_, subcase_, type);
  return t != nullptr ? t->name : std::string();
}

std::string VectorFileControl::GetRequestName(int type, int request) const {
  const auto* t = TypeOf(*file_, subcase_, type);
  if (t == nullptr || request < 0 || static_cast<std::size_t>(request) >= t->requests.size())
    return {};
  return t->requests[request].name;
}

int VectorFileControl::GetNumComponents(int type, int request) const {
  const auto* t = TypeOf(*file_, subcase_, type);
  if (t == nullptr || request < 0 || static_cast<std::size_t>(request) >= t->requests.size())
    return 0;
  return static_cast<int>(t->requests[request].components.size());
}

namespace {

const quorvix::results::Component* ComponentOf(const CachedFile& file, int subcase, int type,
                                               int request, int component) {
  const auto* s = SubcaseOf(file, subcase);
  return s != nullptr ? quorvix::results::ComponentAt(*s, {type, request, component}) : nullptr;
}

}  // namespace

std::string VectorFileControl::GetComponentName(int type, int request, int component) const {
  const auto* c = ComponentOf(*file_, subcase_, type, request, component);
  return c != nullptr ? c->name : std::string();
}

std::string VectorFileControl::GetComponentUnit(int type, int request, int component) const {
  const auto* c = ComponentOf(*file_, subcase_, type, request, component);
  return c != nullptr ? c->unit : std::string();
}

long long VectorFileControl::GetComponentLength(int type, int request, int component) const {
  return file_->Length(subcase_, {type, request, component});
}

std::optional<std::vector<double>> VectorFile::GetVector(const std::string& path, const char* type,
                                                         const char* request,
                                                         const char* component) {
  auto control = VectorFileList::Add(0, path);
  if (control == nullptr || type == nullptr) return std::nullopt;
  const bool one_name =
      (request == nullptr || *request == '\0') && (component == nullptr || *component == '\0');
  if (one_name) {
    const auto* s = SubcaseOf(*control->file_, 0);
    Address at;
    if (s == nullptr || !quorvix::results::FindByName(*s, type, at)) return std::nullopt;
    return control->Read(0, at.type, at.request, at.component);
  }
  const int t = control->GetDataTypeIndex(type, request, component);
  return control->Read(0, t, control->GetRequestIndex(t, request),
                       control->GetComponentIndex(t, component));
}

std::optional<std::vector<double>> VectorFile::GetVector(const std::string& path, int type,
                                                         int request, int component) {
  return GetVector(path, 0, type, request, component);
}

std::optional<std::vector<double>> VectorFile::GetVector(const std::string& path, int subcase,
                                                         int type, int request, int component) {
  auto control = VectorFileList::Add(subcase, path);
  if (control == nullptr) return std::nullopt;
  return control->Read(subcase, type, request, component);
}

namespace Importlib {

SuspendFileNotFound::SuspendFileNotFound() { ++suspended_file_not_found; }
SuspendFileNotFound::~SuspendFileNotFound() { --suspended_file_not_found; }
bool SuspendFileNotFound::Active() { return suspended_file_not_found > 0; }

}  // namespace Importlib
