/* Reading options and filling records from them. */
#include <stdio.h>
#include <string.h>

#include "publish.h"

const char* NextOption(const Arguments* arguments, const char* name, int* position) {
  /* Every option takes a value, so a name stands where a value does not. */
  while (*position < arguments->count) {
    const char* text = arguments->texts[*position];
    if (strncmp(text, "--", 2) != 0) {
      ++*position;
      continue;
    }
    *position += 2;
    if (strcmp(text, name) == 0 && *position <= arguments->count) return arguments->texts[*position - 1];
  }
  return NULL;
}

const char* OptionOr(const Arguments* arguments, const char* name, const char* fallback) {
  int position = 0;
  const char* value = NextOption(arguments, name, &position);
  return value ? value : fallback;
}

bool SetField(char* field, size_t width, const char* text, const char* what) {
  const size_t length = strlen(text);
  if (length >= width) {
    fprintf(stderr, "The %s is too long: at most %lu bytes fit.\n", what, (unsigned long)(width - 1));
    return false;
  }
  memcpy(field, text, length + 1);
  return true;
}
