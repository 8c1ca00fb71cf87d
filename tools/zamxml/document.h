#pragma once

#include <ZAMXMLData.h>

#include <string>

#include "failure.h"

/// A document as the verbs use it. It opens at the original content, exactly as the file holds it,
/// and moves forward from there. So what is shown never depends on old values being right, an edit
/// is saved over the very original that was read, and a walk through the whole history costs no
/// more than its changes.
class Document : public ZAMXMLFile {
public:
  /// The position of the original content.
  static constexpr int Original = -1;

  /// Opens the file, or a copy of a tree. Failure, with the reason, when that cannot be done:
  /// Unsound when the file can be read and is no document. The name is what messages call it.
  /// Like every operation here it raises std::bad_alloc when the tree runs short of memory.
  Document(const std::string& path, const std::string& name);
  Document(ZAMXml& tree, const std::string& name);

  const std::string& Name() const { return m_Name; }
  int Last() const { return GetHistoryCount() - 1; }
  const ZAMXMLModification& Modification(int number) const {
    return *m_Modifications.GetModification(number);
  }

  /// A position from "original", "last", the number of a modification, or a local date and time:
  /// the state then. Failure for any other, and for a time at which the history does not ascend.
  int Position(const std::string& text) const;
  /// "original", or the number.
  static std::string PositionName(int position);

  /// Moves the tree alone, without reading the records again. Unsound when the history cannot be
  /// applied.
  void MoveTo(int position);
  /// Reads the sections from the tree at its present position.
  void ReadSections();

  /// The number of modifications in the file that cannot be read.
  int Unreadable();
  /// Failure, beginning with what cannot be done, when there is one: it would be lost.
  void RequireWholeHistory(const char* what);

protected:
  int OnFileOpen(const _bstr_t& path, ZAMLog* log) override;

private:
  int Read(ZAMLog* log);
  int PositionAt(const std::string& text) const;

  std::string m_Name;
  bool m_WasRead = false;  ///< whether there was XML to be read
};

/// What is wrong with a history of which so many modifications cannot be read.
Failure LostHistory(const std::string& name, int lost);
