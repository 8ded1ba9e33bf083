/* The publisher's own pieces: commands, their options, uploads with a progress bar, and results in plain
 * words. */
#ifndef PUBLISH_H
#define PUBLISH_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "velk_upload.h"

/* One option of a command; it takes a value. */
typedef struct Option {
  const char* name;
  const char* value;
  const char* help;
  bool required;
} Option;

/* What the user typed behind the command's name. */
typedef struct Arguments {
  int count;
  char** texts;
} Arguments;

typedef struct Command {
  const char* name;    /* one or two words */
  const char* operand; /* what stands behind the options, such as "FILE"; null for none */
  const char* help;
  const Option* options; /* ended by a null name */
  int (*run)(const Arguments* arguments, const char* operand);
} Command;

/* Each service's commands, ended by a null name. */
extern const Command kFacebookCommands[];
extern const Command kTwitterCommands[];
extern const Command kYoutubeCommands[];

/* An option's value, or the fallback when it was not given. */
const char* OptionOr(const Arguments* arguments, const char* name, const char* fallback);

/* The values of an option that may stand several times: the next one from *position on, or null. */
const char* NextOption(const Arguments* arguments, const char* name, int* position);

/* Copies a text into a record's field; false, with a word to the user, when the field is too small for it. */
bool SetField(char* field, size_t width, const char* text, const char* what);

/* An upload that runs on a thread of its own while this one shows its progress. */
typedef struct Upload {
  FileUploader* uploader;
  int32_t (*start)(void* context); /* the blocking call; its result is the upload's */
  void* context;
  int32_t (*progress)(const FileUploader* uploader, double* outUploaded, double* outTotal);
  int32_t (*cancel)(FileUploader* uploader);
} Upload;

/* Runs an upload to its end and answers its result. Ctrl-C cancels it. */
int32_t RunUpload(const Upload* upload);

/* One code in a service's own words. */
typedef struct Meaning {
  int32_t result;
  const char* sentence;
} Meaning;

/* Prints a failed result as one sentence that says what to do, looked up in the service's table (ended by
   result 0) and then among the common ones. Answers the program's exit status. */
int ReportFailure(int32_t result, const Meaning* meanings);

#endif
