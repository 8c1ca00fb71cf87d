#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
}

/// What a verb does once the command line has been read: the exit code; Failure ends it early.
using VerbRun = std::function<int()>;

enum class Presence { Optional, Required };

/// Describes the options and arguments of one verb. A name without dashes is a place on the command
/// line, in the order in which the places are described; "-p,--patch" is an option. The members
/// that are given receive the values while the command line is read, so they have to live until
/// then; what they hold before is the default.
class Verb {
public:
  explicit Verb(CLI::App& verb) : m_Verb(verb) {}

  void Flag(const char* names, bool& value, const char* help);
  /// A file to write, which has to have a name: an empty one is none.
  void Output(const char* names, std::string& value, const char* help);
  void Text(const char* names, std::string& value, const char* help,
            Presence presence = Presence::Optional);
  /// All that follows, for a place; one text each time that it is given, for an option.
  void Texts(const char* names, std::vector<std::string>& values, const char* help,
             Presence presence = Presence::Optional);
  /// An option that takes several texts each time that it is given.
  void TextLists(const char* names, std::vector<std::vector<std::string>>& values,
                 const char* help);
  /// A number from low to high.
  void Number(const char* names, double& value, double low, double high, const char* help);
  void Number(const char* names, unsigned int& value, unsigned int low, unsigned int high,
              const char* help);

private:
  template <class Value>
  void AddNumber(const char* names, Value& value, Value low, Value high, const char* help);

  CLI::App& m_Verb;
};

/// The command line: its verbs, and which of them is to run.
class CommandLine {
public:
  CommandLine(const char* description, const char* footer);
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;
  ~CommandLine();

  /// A verb that runs with the options that it describes.
  template <class Options, class Describe>
  void Add(const char* name, const char* help, int (*run)(const Options&), Describe describe) {
    const auto options = std::make_shared<Options>();
    describe(AddVerb(name, help, [run, options] { return run(*options); }), *options);
  }

  /// What is to run; the help where that is asked for. Failure when the line is not understood.
  VerbRun Parse(int argc, char** argv);

private:
  Verb AddVerb(const char* name, const char* help, VerbRun run);

  std::unique_ptr<CLI::App> m_App;
  VerbRun m_Run;
};
