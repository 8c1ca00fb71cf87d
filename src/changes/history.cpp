#include "records/record.h"
#include "zamxml/changes.h"

namespace {

using ChangeValue = _bstr_t ZAMXMLChangeItem::*;

/// Writes the old or the new value of every change into the tree. The records of a whole value are
/// made once for all of them.
class ValueWriter {
public:
  ValueWriter(ZAMXml& xml, const IXMLDOMNodePtr& root, ChangeValue value)
      : m_Xml(xml), m_Root(root), m_Value(value) {}

  void WriteAll(const ZAMXMLModification& modification) {
    for (const ZAMXMLChangeItem* item : modification.m_Changes) {
      IXMLDOMNodePtr target = zam::FindOrAddChild(m_Xml, m_Root, item->m_Node);
      Write(*item, target);
      target.Release();
    }
  }

private:
  void Write(const ZAMXMLChangeItem& item, IXMLDOMNodePtr& target) {
    const _bstr_t& value = item.*m_Value;
    switch (item.m_ValueType) {
      case ZAMXML_VTYPE_STRING:
        if (item.m_Attribute.length() > 0) {
          m_Xml.SetNodeAttribute(target, item.m_Attribute, value);
        } else {
          m_Xml.SetNodeText(target, value);
        }
        break;
      case ZAMXML_VTYPE_NAME:
        ZAMXMLChangeItem::DecodeXMLName(value, m_Name);
        m_Name.WriteToXML(m_Xml, target, nullptr);
        break;
      case ZAMXML_VTYPE_STATEMENT:
        ZAMXMLChangeItem::DecodeXMLStatement(value, m_Statements);
        m_Statements.WriteToXML(m_Xml, target, nullptr);
        break;
      case ZAMXML_VTYPE_NONE:
        break;
    }
  }

  ZAMXml& m_Xml;
  const IXMLDOMNodePtr& m_Root;
  ChangeValue m_Value;
  ZAMXMLName m_Name;
  ZAMXMLStatement m_Statements;
};

}  // namespace

void ZAMXMLModificationGroup::RedoModification(ZAMXml& xml, IXMLDOMNodePtr& root,
                                               ZAMXMLModification* modification) {
  ValueWriter(xml, root, &ZAMXMLChangeItem::m_NewValue).WriteAll(*modification);
}

void ZAMXMLModificationGroup::UndoModification(ZAMXml& xml, IXMLDOMNodePtr& root,
                                               ZAMXMLModification* modification) {
  ValueWriter(xml, root, &ZAMXMLChangeItem::m_OldValue).WriteAll(*modification);
}

int ZAMXMLModificationGroup::ApplyModifications(ZAMXml& xml, ZAMTextView rootPath, int current,
                                                int target) {
  if (target < -1 || target >= GetCount() || target == current) {
    return 0;
  }
  IXMLDOMNodePtr root = xml.GetNode(rootPath, 0);
  if (!root) {
    return 0;
  }
  if (current < target) {
    for (int index = current + 1; index <= target; ++index) {
      RedoModification(xml, root, GetModification(index));
    }
  } else {
    for (int index = current; index > target; --index) {
      UndoModification(xml, root, GetModification(index));
    }
  }
  return 1;
}
