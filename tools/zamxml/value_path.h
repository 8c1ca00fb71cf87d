#pragma once

#include <string>
#include <vector>

/// The place of a value: element names joined by "/", relative to the root element, and perhaps an
/// attribute of that element. In what the tool prints a step carries its index in brackets when
/// siblings of its name precede it: "StudyInfo/ExtraQuestions/Extra[1]/Answer".
struct ValuePath {
  std::string m_Element;
  std::string m_Attribute;  ///< empty: the element's own text

  /// "PATH" or "PATH@ATTR".
  std::string Whole() const;
};

/// True for a name that is stored in a document as it is written here.
bool IsPlainName(const std::string& name);

/// Reads "PATH[@ATTR]" for a value of the file that is to be changed. Failure unless every step is
/// a plain name and the path leads anywhere but into the history.
ValuePath ParseChangedPath(const std::string& file, const std::string& text);

/// The PATH[@ATTR] arguments of a verb: which values it is about.
class PathFilter {
public:
  /// Failure for an argument with an empty step.
  explicit PathFilter(const std::vector<std::string>& arguments);

  bool TakesAll() const { return m_Patterns.empty(); }
  /// True when there are no patterns, or the value is what one of them names, or is below it.
  /// A step without an index names all siblings of that name.
  bool Takes(const ValuePath& path) const;
  /// The arguments that took nothing so far.
  std::vector<std::string> Idle() const;
  /// Counts what a copy has taken as taken here.
  void Absorb(const PathFilter& copy);

private:
  struct Pattern {
    std::string m_Text;
    std::vector<std::string> m_Steps;
    std::string m_Attribute;
    mutable bool m_Used = false;
  };

  static bool Matches(const Pattern& pattern, const std::vector<std::string>& steps,
                      const std::string& attribute);

  std::vector<Pattern> m_Patterns;
};
