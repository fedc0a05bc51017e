/* A shared-library function for quorvix, registered by a host with
 *   MathParser::AddExtDLLFunc("sum", "./libsample_extension.so", "sample_sum", 1, 0);
 * sum(1, [2, 3]) then gives 6. sample_greet answers a string with a string. */
#include <stdio.h>
#include <string.h>

#include "quorvix/extension.h"

/* The sum of every number of every argument, times word2 when it is set. */
int sample_sum(quorvix_call* call) {
  if (call->version != QUORVIX_EXTENSION_VERSION) return 1;
  if (call->argc == 0) {
    call->set_error(call, "no numbers to add");
    return 1;
  }
  double sum = 0;
  for (int i = 0; i < call->argc; ++i) {
    const quorvix_value* v = &call->argv[i];
    if (v->kind != QUORVIX_NUMBERS) {
      call->set_error(call, "numbers expected");
      return 1;
    }
    for (int k = 0; k < v->rows * v->cols; ++k) sum += v->data[k];
  }
  if (call->word2 != 0) sum *= call->word2;
  call->set_numbers(call, 1, 1, &sum);
  return 0;
}

int sample_greet(quorvix_call* call) {
  if (call->argc != 1 || call->argv[0].kind != QUORVIX_STRING) return 1;
  char text[256];
  snprintf(text, sizeof text, "hello, %s", call->argv[0].text);
  call->set_string(call, text);
  return 0;
}
