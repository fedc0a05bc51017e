#include "builtins/packet_answers.h"

#include <strings.h>

#include "quorvix/math_parser.h"
#include "quorvix/stat_functions.h"

namespace quorvix::builtins {
namespace {

const double* AttachedPacket() {
  const MathParser* parser = MathParser::current_parser;
  const StatsPacket* packet = parser != nullptr ? parser->GetStatsPacket() : nullptr;
  return packet != nullptr ? packet->values : nullptr;
}

bool Named(const Args& args, int i, const char* name) {
  const symtab* v = i < args.size() ? args.Peek(i) : nullptr;
  return v != nullptr && v->name != nullptr && strcasecmp(v->name, name) == 0;
}

}  // namespace

symtab* AnswerFromPacket(const Args& args, PacketEntries entries) {
  const double* packet = AttachedPacket();
  if (packet == nullptr) return nullptr;
  int entry = -1;
  if (Named(args, 0, "x"))
    entry = entries.x;
  else if (Named(args, 0, "y"))
    entry = entries.y;
  if (entry < 0) return nullptr;
  auto* result = new symtab;
  result->SetScalar(packet[entry]);
  return result;
}

bool CurveFromPacket(const Args& args, const double*& packet) {
  packet = AttachedPacket();
  return packet != nullptr && Named(args, 0, "x") && Named(args, 1, "y");
}

}  // namespace quorvix::builtins
