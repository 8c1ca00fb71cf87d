#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/tree.h"

namespace test {

/// What a root element R that holds that content holds after the record has been written into it.
template <class Record>
std::string Written(Record& record, const std::string& before = "", int expectedResult = 1) {
  ZAMXml xml;
  Load(xml, "<R>" + before + "<Other/></R>");
  IXMLDOMNodePtr root = xml.GetNode(u"R");
  EXPECT_EQ(record.WriteToXML(xml, root, nullptr), expectedResult);
  const std::string content = Content(xml);
  return content == "<R/>" ? "" : content.substr(3, content.size() - 7);
}

/// Reads the record from a root element R that holds that content.
template <class Record>
void ReadFrom(const std::string& content, Record& record, ZAMLog* log = nullptr) {
  ZAMXml xml;
  Load(xml, "<R>" + content + "</R>");
  IXMLDOMNodePtr root = xml.GetNode(u"R");
  EXPECT_EQ(record.ReadFromXML(xml, root, log), 1);
}

}  // namespace test
