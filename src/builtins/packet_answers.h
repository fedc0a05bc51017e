// Answers of the statistics built-ins from the host's statistics packet
// (MathParser::SetStatsPacket): when a packet is attached and the arguments
// are the variables x and y (names compared without regard to case), the
// packet's precomputed value is the result and nothing is computed.
#ifndef QUORVIX_BUILTINS_PACKET_ANSWERS_H
#define QUORVIX_BUILTINS_PACKET_ANSWERS_H

#include "builtins/builtin_support.h"

namespace quorvix::builtins {

// The packet entries a function answers with for a first argument named x
// and one named y; -1 where it has none.
struct PacketEntries {
  int x = -1;
  int y = -1;
};

// A new scalar holding the packet entry for the first argument's name, or
// null (nothing reported, nothing taken) when no packet is attached, the
// function has no entry for that name, or the argument is not so named.
symtab* AnswerFromPacket(const Args& args, PacketEntries entries);

// For the curve functions: true when a packet is attached, the first
// argument is named x and the second y. Then `packet` holds its values.
bool CurveFromPacket(const Args& args, const double*& packet);

}  // namespace quorvix::builtins

#endif  // QUORVIX_BUILTINS_PACKET_ANSWERS_H
