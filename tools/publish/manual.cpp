#include "manual.h"

#include <string_view>
#include <vector>

#include "options.h"
#include "velk_upload.h"

namespace velk::publish {
namespace {

// A backslash, a hyphen, and a dot or an apostrophe at the start of a line are special in a man page.
std::string Roff(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if ((c == '.' || c == '\'') && (escaped.empty() || escaped.back() == '\n')) escaped += "\\&";
    if (c == '\\')
      escaped += "\\e";
    else if (c == '-')
      escaped += "\\-";
    else
      escaped += c;
  }
  return escaped;
}

std::string LongNames(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : option.get_lnames()) names += (names.empty() ? "--" : ", --") + name;
  return names;
}

// Every command has the help option.
bool IsRepeatedHelp(const CLI::App& app, const CLI::Option& option) {
  return app.get_parent() && &option == app.get_help_ptr();
}

// Without the range of the values.
std::string TypeName(const CLI::Option& option) {
  const std::string name = option.get_type_name();
  return name.substr(0, name.find(':'));
}

std::string OptionEntries(const CLI::App& app) {
  std::string text;
  for (const CLI::Option* option : app.get_options()) {
    if (IsRepeatedHelp(app, *option)) continue;
    const bool positional = option->get_lnames().empty();
    const std::string name = positional ? option->get_name(true) : LongNames(*option);
    const std::string value = positional || option->get_items_expected_max() == 0 ? "" : TypeName(*option);
    text += ".TP\n.B " + Roff(name) + (value.empty() ? "" : " \\fI" + Roff(value) + "\\fR") + '\n';
    text += Roff(option->get_description()) + (option->get_required() ? " (required)" : "") + '\n';
  }
  return text;
}

// Without the line about the options of all commands.
std::string Example(const CLI::App& leaf) {
  const std::string footer = leaf.get_footer();
  const std::size_t begin = footer.find("\n  ") + 3;
  return footer.substr(begin, footer.find('\n', begin) - begin);
}

template <typename Function>
void ForEachCommand(const CLI::App& app, const Function& function) {
  for (const CLI::App* service : app.get_subcommands(nullptr))
    for (const CLI::App* leaf : service->get_subcommands(nullptr)) function(*service, *leaf);
}

std::vector<std::string> OptionWords(const CLI::App& app) {
  std::vector<std::string> words;
  for (const CLI::Option* option : app.get_options())
    for (const std::string& name : option->get_lnames())
      if (!IsRepeatedHelp(app, *option)) words.push_back("--" + name);
  return words;
}

std::string Joined(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) line += (line.empty() ? "" : " ") + word;
  return line;
}

// The words that the option takes, which the name of its type lists. Empty if it takes any.
std::string ChoicesOf(const CLI::Option& option) {
  std::string type = option.get_type_name();
  if (!type.starts_with(kChoice)) return {};
  std::erase(type, ',');
  return type.substr(kChoice.size());
}

std::string ChildNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* child : app.get_subcommands(nullptr)) names.push_back(child->get_name());
  return Joined(names);
}

// What can follow the service and the command that were typed, in the order in which a shell looks for it. A
// row with a choice is for its option, which was typed last. `options` are for a word that begins with a
// hyphen.
struct Completion {
  std::string service, command, choice, words, options;
};

std::vector<Completion> Completions(const CLI::App& app) {
  std::vector<Completion> rows;
  const std::string common = Joined(OptionWords(app));
  ForEachCommand(app, [&](const CLI::App& service, const CLI::App& leaf) {
    const std::string &name = service.get_name(), &command = leaf.get_name();
    for (const CLI::Option* option : leaf.get_options()) {
      if (const std::string words = ChoicesOf(*option); !words.empty())
        rows.push_back({name, command, LongNames(*option), words, ""});
    }
    rows.push_back({name, command, "", "", Joined(OptionWords(leaf)) + ' ' + common});
  });
  for (const CLI::App* service : app.get_subcommands(nullptr))
    rows.push_back({service->get_name(), "", "", ChildNames(*service), common});
  rows.push_back({"", "", "", ChildNames(app), common});
  return rows;
}

std::string CommandNames(const CLI::App& app) {
  std::string names = ChildNames(app);
  for (const CLI::App* service : app.get_subcommands(nullptr)) names += ' ' + ChildNames(*service);
  return names;
}

// The pattern of a row, for a case statement over "SERVICE COMMAND PREVIOUS-WORD".
std::string Pattern(const Completion& row) {
  return '\'' + row.service + ' ' + row.command + ' ' + row.choice + '\'' + (row.choice.empty() ? "*" : "");
}

}  // namespace

std::string ManPage(const CLI::App& app) {
  std::string page =
      ".TH VELK\\-PUBLISH 1 \"\" \"Velk Upload " VELK_UPLOAD_VERSION
      "\" \"User Commands\"\n.SH NAME\nvelk\\-publish \\- publish media files and posts\n"
      ".SH SYNOPSIS\n.B velk\\-publish\n\\fISERVICE COMMAND\\fR [\\fIOPTIONS\\fR]\n.SH DESCRIPTION\n";
  page += Roff(app.get_description()) + '\n';
  const std::string footer = app.get_footer();
  std::string paragraphs = Roff(footer.substr(0, footer.rfind("\n\n")));
  for (std::size_t gap = 0; (gap = paragraphs.find("\n\n", gap)) != paragraphs.npos; gap += 5)
    paragraphs.replace(gap, 2, "\n.PP\n");
  page += ".PP\n" + paragraphs + "\n.SH OPTIONS OF EVERY COMMAND\n" + OptionEntries(app);
  ForEachCommand(app, [&page](const CLI::App& service, const CLI::App& leaf) {
    page += ".SH " + Roff(service.get_name() + ' ' + leaf.get_name()) + '\n' + Roff(leaf.get_description()) +
            ".\n";
    page += OptionEntries(leaf) + ".PP\nExample:\n.PP\n.nf\n" + Roff(Example(leaf)) + "\n.fi\n";
  });
  return page;
}

std::string BashCompletion(const CLI::App& app) {
  std::string cases;
  for (const Completion& row : Completions(app))
    cases += "    " + Pattern(row) + ") words='" + row.words + "' options='" + row.options + "' ;;\n";
  return "# Completes velk-publish in bash.\n"
         "_velk_publish() {\n"
         "  local words='' options='' word=${COMP_WORDS[COMP_CWORD]} named=() i\n"
         "  for ((i = 1; i < COMP_CWORD && ${#named[@]} < 2; ++i)); do\n"
         "    [[ ' " +
         CommandNames(app) +
         " ' != *\" ${COMP_WORDS[i]} \"* ]] || named+=(\"${COMP_WORDS[i]}\")\n"
         "  done\n"
         "  case \"${named[0]-} ${named[1]-} ${COMP_WORDS[COMP_CWORD - 1]}\" in\n" +
         cases +
         "  esac\n"
         "  [[ $word != -* ]] || words=$options\n"
         "  # shellcheck disable=SC2207 # the words have no blanks\n"
         "  COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
         "}\n"
         "complete -o default -F _velk_publish velk-publish\n";
}

std::string ZshCompletion(const CLI::App& app) {
  std::string cases;
  for (const Completion& row : Completions(app))
    cases += "    " + Pattern(row) + ") choices=(" + row.words + ") flags=(" + row.options + ") ;;\n";
  return "#compdef velk-publish\n"
         "# Completes velk-publish in zsh.\n"
         "_velk_publish() {\n"
         "  local -a choices flags named known=(" +
         CommandNames(app) +
         ")\n"
         "  local i\n"
         "  for ((i = 2; i < CURRENT && ${#named} < 2; ++i)); do\n"
         "    ((${known[(Ie)${words[i]}]} == 0)) || named+=(\"${words[i]}\")\n"
         "  done\n"
         "  case \"${named[1]-} ${named[2]-} ${words[CURRENT - 1]}\" in\n" +
         cases +
         "  esac\n"
         "  if [[ $PREFIX == -* ]]; then\n"
         "    compadd -- $flags\n"
         "  elif ((${#choices})); then\n"
         "    compadd -- $choices\n"
         "  else\n"
         "    _files\n"
         "  fi\n"
         "}\n"
         "_velk_publish \"$@\"\n";
}

}  // namespace velk::publish
