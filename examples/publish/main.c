/* velk-publish: publishes media and posts from the command line. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "publish.h"
#include "system.h"

enum { kUsageError = 2 };

static const Command* const kServices[] = {kFacebookCommands, kTwitterCommands, kYoutubeCommands};
enum { kServiceCount = sizeof kServices / sizeof kServices[0] };

static void PrintHelp(FILE* out) {
  fputs("velk-publish publishes media files and posts through Velk Upload.\n\nCommands:\n", out);
  for (int service = 0; service < kServiceCount; ++service) {
    for (const Command* command = kServices[service]; command->name; ++command)
      fprintf(out, "  %-22s %s\n", command->name, command->help);
  }
  fputs(
      "\n\"velk-publish COMMAND --help\" lists a command's options. Every command takes --proxy ADDRESS.\n"
      "The exit status is 0 on success, 1 when the service or the file failed, 2 for a wrong command line.\n",
      out);
}

static void PrintCommandHelp(FILE* out, const Command* command) {
  fprintf(out, "velk-publish %s [OPTIONS]%s%s\n%s.\n\nOptions:\n", command->name, command->operand ? " " : "",
          command->operand ? command->operand : "", command->help);
  for (const Option* option = command->options; option->name; ++option) {
    char left[48];
    snprintf(left, sizeof left, "%s %s", option->name, option->value);
    fprintf(out, "  %-24s %s%s\n", left, option->help, option->required ? " (required)" : "");
  }
  fputs("  --proxy ADDRESS          send everything through this proxy, such as http://127.0.0.1:8080\n",
        out);
}

/* How many arguments a command's name takes up when they spell it, else 0. */
static int MatchName(const char* name, int count, char** texts) {
  const char* blank = strchr(name, ' ');
  if (!blank) return count > 0 && strcmp(texts[0], name) == 0 ? 1 : 0;
  const size_t length = (size_t)(blank - name);
  const bool matches = count > 1 && strlen(texts[0]) == length && strncmp(texts[0], name, length) == 0 &&
                       strcmp(texts[1], blank + 1) == 0;
  return matches ? 2 : 0;
}

static const Command* FindCommand(int count, char** texts, int* words) {
  for (int service = 0; service < kServiceCount; ++service) {
    for (const Command* command = kServices[service]; command->name; ++command) {
      *words = MatchName(command->name, count, texts);
      if (*words > 0) return command;
    }
  }
  return NULL;
}

static bool IsOption(const Command* command, const char* text) {
  if (strcmp(text, "--proxy") == 0) return true;
  for (const Option* option = command->options; option->name; ++option)
    if (strcmp(option->name, text) == 0) return true;
  return false;
}

/* Checks the words against the command and finds its operand; false, with a word to the user, when they are
 * wrong. */
static bool CheckArguments(const Command* command, const Arguments* arguments, const char** operand) {
  for (int index = 0; index < arguments->count; ++index) {
    const char* text = arguments->texts[index];
    if (strncmp(text, "--", 2) != 0) {
      if (*operand || !command->operand) return fprintf(stderr, "Unexpected argument: %s\n", text), false;
      *operand = text;
    } else if (!IsOption(command, text)) {
      return fprintf(stderr, "Unknown option: %s\n", text), false;
    } else if (++index == arguments->count) {
      return fprintf(stderr, "The option %s needs a value.\n", text), false;
    }
  }
  for (const Option* option = command->options; option->name; ++option) {
    if (option->required && !OptionOr(arguments, option->name, NULL))
      return fprintf(stderr, "The option %s is missing.\n", option->name), false;
  }
  if (command->operand && !*operand) return fprintf(stderr, "%s is missing.\n", command->operand), false;
  return true;
}

static int RunCommand(const Command* command, const Arguments* arguments) {
  const char* operand = NULL;
  if (!CheckArguments(command, arguments, &operand)) {
    fprintf(stderr, "\"velk-publish %s --help\" says more.\n", command->name);
    return kUsageError;
  }
  SetLibVelkUploadProxy(OptionOr(arguments, "--proxy", ""));
  return command->run(arguments, operand);
}

int main(int argc, char** argv) {
  argv = Utf8Arguments(&argc, argv);
  if (!argv) return EXIT_FAILURE;
  int words = 0;
  const Command* command = FindCommand(argc - 1, argv + 1, &words);
  if (!command) {
    const bool asked = argc == 2 && strcmp(argv[1], "--help") == 0;
    PrintHelp(asked ? stdout : stderr);
    return asked ? EXIT_SUCCESS : kUsageError;
  }
  const Arguments arguments = {argc - 1 - words, argv + 1 + words};
  for (int index = 0; index < arguments.count; ++index) {
    if (strcmp(arguments.texts[index], "--help") == 0) return PrintCommandHelp(stdout, command), EXIT_SUCCESS;
  }
  return RunCommand(command, &arguments);
}
