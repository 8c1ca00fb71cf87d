#include "command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <utility>

#include "failure.h"
#include "output.h"

namespace {

/// What the user gave in the place of a verb, when it is none: the parser only says that something
/// is missing.
std::string UnknownVerb(CLI::App& app, int argc, char** argv) {
  const std::string first = argc < 2 ? "" : argv[1];
  const auto isFirst = [&](const CLI::App* verb) { return verb->get_name() == first; };
  if (first.empty()) {
    return "no verb is given";
  }
  return first[0] == '-' || !app.get_subcommands(isFirst).empty()
             ? ""
             : first + ": there is no such verb";
}

template <class Kind>
bool Is(const CLI::ParseError& error) {
  return dynamic_cast<const Kind*>(&error) != nullptr;
}

/// The parser's error in this program's words.
std::string PlainWords(const CLI::ParseError& error) {
  const std::string what = error.what();
  const auto colon = std::min(what.find(": "), what.size());
  const std::string option = what.substr(0, colon);
  const std::string rest = colon < what.size() ? what.substr(colon + 2) : "";
  if (Is<CLI::RequiredError>(error)) {
    return what.substr(0, what.rfind(" is required")) + ": it is missing";
  }
  if (Is<CLI::ArgumentMismatch>(error)) {
    return option + (rest.find("At Most") == 0 ? ": it is given twice" : ": its value is missing");
  }
  if (Is<CLI::ConversionError>(error)) {
    return rest.substr(0, rest.find(" = ")) + ": it cannot take this value";
  }
  return Is<CLI::ExtrasError>(error) ? rest + ": it is not expected here" : what;
}

[[noreturn]] void RefuseUsage(CLI::App& app, const std::string& what) {
  const auto verbs = app.get_subcommands();
  const std::string verb = verbs.empty() ? "" : verbs.front()->get_name() + ' ';
  throw Failure("", what, "\"zamxml " + verb + "--help\" tells more");
}

bool IsOption(const char* names) { return names[0] == '-'; }

}  // namespace

void Verb::Flag(const char* names, bool& value, const char* help) {
  m_Verb.add_flag(names, value, help);
}

void Verb::Text(const char* names, std::string& value, const char* help, Presence presence) {
  CLI::Option* option = m_Verb.add_option(names, value, help);
  option->required(presence == Presence::Required);
  if (!value.empty()) {
    option->capture_default_str();
  }
}

void Verb::Output(const char* names, std::string& value, const char* help) {
  const auto check = [](const std::string& text) {
    return text.empty() ? "its value is missing" : "";
  };
  m_Verb.add_option(names, value, help)->check(check);
}

void Verb::Texts(const char* names, std::vector<std::string>& values, const char* help,
                 Presence presence) {
  m_Verb.add_option(names, values, help)
      ->required(presence == Presence::Required)
      ->allow_extra_args(!IsOption(names));
}

void Verb::TextLists(const char* names, std::vector<std::vector<std::string>>& values,
                     const char* help) {
  // Without a bound the parser would split "[a,b]".
  constexpr int MaximumTexts = 1000;
  const auto take = [&values](const std::vector<std::string>& texts) { values.push_back(texts); };
  m_Verb.add_option_function<std::vector<std::string>>(names, take, help)
      ->trigger_on_parse()
      ->expected(1, MaximumTexts)
      ->allow_extra_args(false);
}

template <class Value>
void Verb::AddNumber(const char* names, Value& value, Value low, Value high, const char* help) {
  const auto check = [low, high](const std::string& text) -> std::string {
    Value number{};
    const bool fits = CLI::detail::lexical_cast(text, number) && number >= low && number <= high;
    return fits ? "" : fmt::format("it is {} to {}", low, high);
  };
  m_Verb.add_option(names, value, help)->check(check)->capture_default_str();
}

void Verb::Number(const char* names, double& value, double low, double high, const char* help) {
  AddNumber(names, value, low, high, help);
}

void Verb::Number(const char* names, unsigned int& value, unsigned int low, unsigned int high,
                  const char* help) {
  AddNumber(names, value, low, high, help);
}

CommandLine::CommandLine(const char* description, const char* footer)
    : m_App(std::make_unique<CLI::App>(description, "zamxml")) {
  m_App->set_version_flag("--version", "zamxml " ZAMXML_VERSION);
  m_App->require_subcommand(1);
  m_App->footer(footer);
  m_App->get_formatter()->label("SUBCOMMAND", "VERB");
}

CommandLine::~CommandLine() = default;

Verb CommandLine::AddVerb(const char* name, const char* help, VerbRun run) {
  CLI::App* verb = m_App->add_subcommand(name, help)->group("Verbs");
  verb->footer("\"zamxml --help\" explains positions, paths and exit codes.");
  verb->callback([this, run = std::move(run)] { m_Run = run; });
  return Verb(*verb);
}

VerbRun CommandLine::Parse(int argc, char** argv) {
  try {
    m_App->parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      std::ostringstream text;
      m_App->exit(error, text, text);
      return [help = text.str()] {
        Deliver(help);
        return ExitFine;
      };
    }
    const std::string unknown = UnknownVerb(*m_App, argc, argv);
    RefuseUsage(*m_App, unknown.empty() ? PlainWords(error) : unknown);
  }
  return m_Run;
}
