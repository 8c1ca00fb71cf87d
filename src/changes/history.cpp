#include <new>
#include <utility>
#include <vector>

#include "changes/places.h"
#include "platform/utf.h"
#include "platform/xml/fields.h"
#include "records/record.h"
#include "zamxml/changes.h"

namespace {

using ChangeValue = _bstr_t ZAMXMLChangeItem::*;

/// Writes the old or the new value of every change into the tree, with the outcome of writing them
/// one by one. Where a place is alone and holds a value already, the next one waits: only the
/// last of them is written. The records of a whole value are made once for all of them.
class ValueWriter {
public:
  ValueWriter(ZAMXml& xml, const IXMLDOMNodePtr& root, ChangeValue value)
      : m_Xml(xml), m_Root(root), m_Value(value) {}
  ValueWriter(const ValueWriter&) = delete;
  ValueWriter& operator=(const ValueWriter&) = delete;
  /// What still waits after an exception is written as far as that goes.
  ~ValueWriter() {
    try {
      WriteWaiting();
    } catch (const std::exception&) {
      // The exception that is on its way says that the tree is between two positions.
    }
  }

  void Add(const ZAMXMLModification& modification) {
    Allocating([&] {
      for (const ZAMXMLChangeItem* const item : modification.m_Changes) {
        m_Steps.push_back({item, m_Places.Add(*item)});
      }
    });
  }

  void Write() {
    Allocating([&] { Plan(); });
    for (const Step& step : m_Steps) {
      Take(*step.m_Item, m_States[step.m_nPlace]);
    }
    WriteWaiting();
  }

private:
  struct Step {
    const ZAMXMLChangeItem* m_Item;
    std::size_t m_nPlace;
  };
  struct State {
    bool m_Alone = false;
    IXMLDOMNodePtr m_Target;  ///< the element of a place where values may wait
    const ZAMXMLChangeItem* m_Waiting = nullptr;
  };

  template <class Work>
  void Allocating(Work work) {
    try {
      work();
    } catch (const std::bad_alloc&) {
      m_Xml.ReportShortage();
      throw _com_error(E_OUTOFMEMORY);
    }
  }

  void Plan() {
    m_States.resize(m_Places.GetCount());
    const std::vector<bool> alone = m_Places.FindAlone();
    for (std::size_t place = 0; place < alone.size(); ++place) {
      m_States[place].m_Alone = alone[place];
    }
  }

  void Take(const ZAMXMLChangeItem& item, State& state) {
    const _bstr_t& value = item.*m_Value;
    if (state.m_Target && zam::IsXmlText(value.view())) {
      state.m_Waiting = &item;
      return;
    }
    state.m_Waiting = nullptr;
    IXMLDOMNodePtr target =
        state.m_Target ? state.m_Target : zam::FindOrAddChild(m_Xml, m_Root, item.m_Node);
    if (Write(item, target) && state.m_Alone) {
      state.m_Target = target;
    }
    target.Release();
  }

  void WriteWaiting() {
    for (State& state : m_States) {
      if (state.m_Waiting != nullptr) {
        Write(*std::exchange(state.m_Waiting, nullptr), state.m_Target);
      }
    }
  }

  /// Whether another value in its place would leave no trace of this one.
  bool Write(const ZAMXMLChangeItem& item, IXMLDOMNodePtr& target) {
    const _bstr_t& value = item.*m_Value;
    switch (item.m_ValueType) {
      case ZAMXML_VTYPE_STRING:
        return (item.m_Attribute.length() > 0
                    ? m_Xml.SetNodeAttribute(target, item.m_Attribute, value)
                    : m_Xml.SetNodeText(target, value)) != 0;
      case ZAMXML_VTYPE_NAME:
        ZAMXMLChangeItem::DecodeXMLName(value, m_Name);
        return m_Name.WriteToXML(m_Xml, target, nullptr) != 0;
      case ZAMXML_VTYPE_STATEMENT:
        ZAMXMLChangeItem::DecodeXMLStatement(value, m_Statements);
        return m_Statements.WriteToXML(m_Xml, target, nullptr) != 0 &&
               zam::FieldCursor(m_Xml, target).HoldsOnly(u"Statement");
      case ZAMXML_VTYPE_NONE:
        break;
    }
    return true;
  }

  ZAMXml& m_Xml;
  const IXMLDOMNodePtr& m_Root;
  ChangeValue m_Value;
  ZAMXMLName m_Name;
  ZAMXMLStatement m_Statements;
  zam::Places m_Places;
  std::vector<Step> m_Steps;
  std::vector<State> m_States;
};

}  // namespace

void ZAMXMLModificationGroup::RedoModification(ZAMXml& xml, IXMLDOMNodePtr& root,
                                               ZAMXMLModification* modification) {
  ValueWriter writer(xml, root, &ZAMXMLChangeItem::m_NewValue);
  writer.Add(*modification);
  writer.Write();
}

void ZAMXMLModificationGroup::UndoModification(ZAMXml& xml, IXMLDOMNodePtr& root,
                                               ZAMXMLModification* modification) {
  ValueWriter writer(xml, root, &ZAMXMLChangeItem::m_OldValue);
  writer.Add(*modification);
  writer.Write();
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
  const bool redo = current < target;
  ValueWriter writer(xml, root,
                     redo ? &ZAMXMLChangeItem::m_NewValue : &ZAMXMLChangeItem::m_OldValue);
  if (redo) {
    for (int index = current + 1; index <= target; ++index) {
      writer.Add(*GetModification(index));
    }
  } else {
    for (int index = current; index > target; --index) {
      writer.Add(*GetModification(index));
    }
  }
  writer.Write();
  return 1;
}
