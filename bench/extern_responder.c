/* The external-function program of the round-trip row: takes the whole
 * request from the descriptor named by its first argument and answers one
 * number, the request's length, on the second. */
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const int in = atoi(argv[1]), out = atoi(argv[2]);
  char buffer[4096];
  long length = 0;
  ssize_t n;
  while ((n = read(in, buffer, sizeof buffer)) > 0) length += n;
  char reply[64];
  const int size = snprintf(reply, sizeof reply, "0 1\n%ld\n", length);
  return write(out, reply, (size_t)size) == size ? 0 : 1;
}
