#include "values.h"

#include <new>
#include <unordered_map>

const char16_t* const NameParts[6] = {u"Full",   u"Family", u"Given",
                                      u"Middle", u"Prefix", u"Suffix"};

namespace {

class ValueReader {
public:
  ValueReader(ZAMXml& tree, const LeaveOut& isLeftOut) : m_Tree(tree), m_IsLeftOut(isLeftOut) {}

  /// Of everything but the history; with the root's own values or without them.
  std::vector<Value> ReadAll(bool withRoot) {
    const IXMLDOMNodePtr root = m_Tree.GetNode(u"KESTRANE_ZAM");
    if (withRoot) {
      ReadOwn(root, {});
    }
    ForEachChild(m_Tree, root,
                 [this](const IXMLDOMNodePtr& child, const std::string& name, int index) {
                   if (name != "Modifications") {
                     Read(child, Step(name, index));
                   }
                 });
    return std::move(m_Values);
  }

private:
  void ReadOwn(const IXMLDOMNodePtr& element, const std::string& path) {
    _bstr_t text;
    m_Tree.GetNodeText(element, text);
    if (text.length() != 0 || !m_Tree.GetFirstChildNode(element)) {
      m_Values.push_back({{path, {}}, text});
    }
    _bstr_t name;
    for (int i = 0; m_Tree.GetAttribute(element, i, name, text) != 0; ++i) {
      m_Values.push_back({{path, name.utf8()}, text});
    }
  }

  void Read(const IXMLDOMNodePtr& element, const std::string& path) {
    if (m_IsLeftOut && m_IsLeftOut(element, path)) {
      return;
    }
    ReadOwn(element, path);
    ForEachChild(m_Tree, element,
                 [&](const IXMLDOMNodePtr& child, const std::string& childName, int index) {
                   Read(child, path + '/' + Step(childName, index));
                 });
  }

  ZAMXml& m_Tree;
  const LeaveOut& m_IsLeftOut;
  std::vector<Value> m_Values;
};

IXMLDOMNodePtr FindElement(ZAMXml& tree, const _bstr_t& node) {
  return tree.GetChildNode(tree.GetNode(u"KESTRANE_ZAM"), node);
}

}  // namespace

void ForEachChild(ZAMXml& tree, const IXMLDOMNodePtr& parent,
                  const std::function<void(const IXMLDOMNodePtr& child, const std::string& name,
                                           int index)>& visit) {
  std::unordered_map<std::string, int> seen;
  for (auto child = tree.GetFirstChildNode(parent); child; child = tree.GetNextNode(child)) {
    const std::string name = tree.GetNodeName(child).utf8();
    visit(child, name, seen[name]++);
  }
}

std::string Step(const std::string& name, int index) {
  return index == 0 ? name : name + '[' + std::to_string(index) + ']';
}

std::vector<Value> ReadValues(ZAMXml& tree, const LeaveOut& isLeftOut) {
  return ValueReader(tree, isLeftOut).ReadAll(false);
}

std::vector<Value> ReadAllValues(ZAMXml& tree) { return ValueReader(tree, {}).ReadAll(true); }

std::optional<_bstr_t> ReadHeld(ZAMXml& tree, const _bstr_t& node, const _bstr_t& attribute,
                                ZAMXML_VTYPE type) {
  IXMLDOMNodePtr element = FindElement(tree, node);
  if (!element) {
    return std::nullopt;
  }
  _bstr_t held;
  // A record that cannot be read is no empty one: the memory ran short.
  const auto require = [](int read) {
    if (read == 0) {
      throw std::bad_alloc();
    }
  };
  if (type == ZAMXML_VTYPE_NAME) {
    ZAMXMLName name;
    require(name.ReadFromXML(tree, element, nullptr));
    ZAMXMLChangeItem::EncodeXMLName(name, held);
  } else if (type == ZAMXML_VTYPE_STATEMENT) {
    ZAMXMLStatement list;
    require(list.ReadFromXML(tree, element, nullptr));
    ZAMXMLChangeItem::EncodeXMLStatement(list, held);
  } else if (attribute.length() == 0) {
    tree.GetNodeText(element, held);
  } else if (tree.GetNodeAttribute(element, attribute, held) == 0) {
    return std::nullopt;
  }
  return held;
}

std::vector<Value> ReadTouched(ZAMXml& tree, const ZAMXMLChangeItem& item) {
  const IXMLDOMNodePtr element = FindElement(tree, item.m_Node);
  if (!element) {
    return {};
  }
  const std::string fromRoot = tree.GetNodePath(element).utf8();
  const std::string path = fromRoot.substr(fromRoot.find('/') + 1);
  std::vector<Value> values;
  _bstr_t text;
  if (item.m_ValueType == ZAMXML_VTYPE_NAME) {
    for (const char16_t* part : NameParts) {
      if (tree.GetChildNodeText(element, part, text) != 0) {
        values.push_back({{path + '/' + _bstr_t(part).utf8(), {}}, text});
      }
    }
  } else if (item.m_ValueType == ZAMXML_VTYPE_STATEMENT) {
    for (int i = 0; tree.GetChildNodeText(element, u"Statement", text, i) != 0; ++i) {
      values.push_back({{path + '/' + Step("Statement", i), {}}, text});
    }
  } else if (item.m_Attribute.length() == 0) {
    tree.GetNodeText(element, text);
    values.push_back({{path, {}}, text});
  } else if (tree.GetNodeAttribute(element, item.m_Attribute, text) != 0) {
    values.push_back({{path, item.m_Attribute.utf8()}, text});
  }
  return values;
}

std::vector<_bstr_t> Unfold(const _bstr_t& folded, ZAMXML_VTYPE type) {
  if (type == ZAMXML_VTYPE_NAME) {
    ZAMXMLName name;
    ZAMXMLChangeItem::DecodeXMLName(folded, name);
    return {name.m_Full, name.m_Family, name.m_Given, name.m_Middle, name.m_Prefix, name.m_Suffix};
  }
  ZAMXMLStatement list;
  ZAMXMLChangeItem::DecodeXMLStatement(folded, list);
  std::vector<_bstr_t> parts(static_cast<std::size_t>(list.GetCount()));
  for (int i = 0; i < list.GetCount(); ++i) {
    list.GetStatement(i, parts[static_cast<std::size_t>(i)]);
  }
  return parts;
}
