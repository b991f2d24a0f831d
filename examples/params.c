/* The settings of a timing output channel, from C, in caller buffers: ask how
 * many records the channel needs, then fetch them in the flat layout.
 *
 *   params DTS MODULE SHOT SUBSHOT CHANNEL
 */
#include <stdio.h>
#include <stdlib.h>
#include <tovak/tovak.h>

enum { kNameWidth = 64, kValueWidth = 128 };

int main(int argc, char** argv) {
  short count = 0;
  int first, last = 0, status, i;
  unsigned shot;
  unsigned short subShot, channel;
  char module[64];
  char *names, *values;
  int* tags;
  if (argc != 6) {
    fprintf(stderr, "usage: params DTS MODULE SHOT SUBSHOT CHANNEL\n");
    return 2;
  }
  shot = (unsigned)strtoul(argv[3], NULL, 10);
  subShot = (unsigned short)atoi(argv[4]);
  channel = (unsigned short)atoi(argv[5]);
  first = channel;
  last = channel;
  status = tovakGetDTSParametersCount("", argv[1], argv[2], shot, subShot, &count, &first, &last,
                                      module);
  if (status != TOVAK_OK) {
    fprintf(stderr, "count failed: %d\n", status);
    return 1;
  }
  names = calloc((size_t)count, kNameWidth);
  values = calloc((size_t)count, kValueWidth);
  tags = calloc((size_t)count, sizeof *tags);
  if (names == NULL || values == NULL || tags == NULL) return 1;
  status = tovakGetDTSParameters2("", argv[1], module, shot, subShot, channel,
                                  (unsigned short)count, names, values, tags);
  if (status == TOVAK_OK) {
    printf("%s %s channel %u: %d parameters\n", argv[1], module, (unsigned)channel, count);
    for (i = 0; i < count; ++i) {
      char name[kNameWidth + 1] = {0};
      bufferStringCopy(name, names, kNameWidth, i + 1);
      printf("  %-24s %s\n", name, values + (size_t)i * kValueWidth);
    }
  } else {
    fprintf(stderr, "parameters failed: %d\n", status);
  }
  free(names);
  free(values);
  free(tags);
  return status == TOVAK_OK ? 0 : 1;
}
