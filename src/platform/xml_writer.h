#pragma once

#include <pugixml.hpp>
#include <string>

namespace zam {

/// The tree as UTF-8 text, exactly: nothing is indented, and a parser reads back what the tree
/// holds. The declaration, where there is one, says UTF-8.
std::string WriteDocument(const pugi::xml_document& tree);

}  // namespace zam
