#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <queue>
#include <span>
#include <utility>
#include <vector>

#include "changes/known_list.h"
#include "changes/list_access.h"
#include "changes/places.h"
#include "platform/xml/fields.h"
#include "records/record.h"
#include "zamxml/changes.h"

namespace {

using Modifications = std::vector<const ZAMXMLModification*>;

/// Modifications of a list, from the first to the last or back.
struct Way {
  int m_nFirst;
  int m_nLast;
  bool m_IsRedo;

  int Length() const { return m_nLast - m_nFirst + 1; }
};

/// The writes to one place on a way, in the order of single steps: undo goes back over the
/// modifications, but not over the items of one.
class WritesOnWay {
public:
  WritesOnWay(std::span<const zam::PlaceWrite> writes, const Way& way) : m_IsRedo(way.m_IsRedo) {
    const auto first = std::ranges::lower_bound(writes, way.m_nFirst, {}, Modification);
    const auto end = std::ranges::upper_bound(writes, way.m_nLast, {}, Modification);
    m_Rest = {first, end};
    TakeNext();
  }

  explicit operator bool() const { return !m_Next.empty(); }
  const zam::PlaceWrite& Next() const { return m_Next.front(); }
  const zam::PlaceWrite& Last() const {
    if (m_IsRedo || m_Rest.empty()) {
      return m_Rest.empty() ? m_Next.back() : m_Rest.back();
    }
    const int modification = m_Rest.front().m_nModification;
    return *(std::ranges::upper_bound(m_Rest, modification, {}, Modification) - 1);
  }
  /// The last one in front of a turn; null when there is none.
  const zam::PlaceWrite* LastBefore(std::int64_t turn) const {
    const zam::PlaceWrite* last = nullptr;
    for (WritesOnWay writes = *this; writes && writes.Order() < turn; writes.Pass()) {
      last = &writes.Next();
    }
    return last;
  }
  void Pass() {
    m_Next = m_Next.subspan(1);
    if (m_Next.empty()) {
      TakeNext();
    }
  }
  /// Grows from step to step.
  std::int64_t Order() const {
    const std::int64_t modification = Next().m_nModification;
    return (m_IsRedo ? modification : -modification) * (std::int64_t{1} << 32) + Next().m_nItem;
  }

private:
  static constexpr auto Modification = &zam::PlaceWrite::m_nModification;

  /// Takes the writes of the next modification from the rest.
  void TakeNext() {
    if (m_Rest.empty()) {
      return;
    }
    const int next = m_IsRedo ? m_Rest.front().m_nModification : m_Rest.back().m_nModification;
    const auto begin = std::ranges::lower_bound(m_Rest, next, {}, Modification);
    const auto end = std::ranges::upper_bound(m_Rest, next, {}, Modification);
    const std::span rest = m_Rest;
    m_Next = {begin, end};
    m_Rest = m_IsRedo ? std::span(end, rest.end()) : std::span(rest.begin(), begin);
  }

  bool m_IsRedo;
  std::span<const zam::PlaceWrite> m_Next;  ///< of one modification
  std::span<const zam::PlaceWrite> m_Rest;
};

/// Writes the old or the new value of every change on a way into the tree, with the outcome of
/// writing them one by one. If a place is alone and has been written to, only the last of its
/// other values is written, at the end. The records of a whole value are made once for all of them.
class ValueWriter {
public:
  /// The list is that of the way's modifications only.
  ValueWriter(ZAMXml& xml, const IXMLDOMNodePtr& root, const Modifications& list, const Way& way)
      : m_Xml(xml),
        m_Root(root),
        m_List(list),
        m_Way(way),
        m_Value(way.m_IsRedo ? &ZAMXMLChangeItem::m_NewValue : &ZAMXMLChangeItem::m_OldValue) {}
  ValueWriter(const ValueWriter&) = delete;
  ValueWriter& operator=(const ValueWriter&) = delete;
  /// What waits at an exception is written up to there, as far as that goes.
  ~ValueWriter() {
    try {
      WriteWaiting([this](const WritesOnWay& writes) { return writes.LastBefore(m_nTurn); });
    } catch (const std::exception&) {
      // The exception that is on its way says that the tree is between two positions.
    }
  }

  void Write(zam::Places& places) {
    Plan(places);
    while (!m_Queue.empty()) {
      const std::size_t step = m_Queue.top().second;
      m_nTurn = m_Queue.top().first;
      m_Queue.pop();
      Take(m_Steps[step]);
      if (m_Steps[step].m_Writes && !m_Steps[step].m_Target) {
        m_Queue.emplace(m_Steps[step].m_Writes.Order(), step);
      }
    }
    m_nTurn = std::numeric_limits<std::int64_t>::max();
    WriteWaiting([](const WritesOnWay& writes) { return &writes.Last(); });
  }

private:
  /// What there is to do at one place.
  struct Step {
    WritesOnWay m_Writes;
    bool m_IsAlone;
    IXMLDOMNodePtr m_Target;  ///< the element, once the writes up to the last may be left out
  };
  using Turn = std::pair<std::int64_t, std::size_t>;  ///< the order of a step's next write

  void Plan(zam::Places& places) {
    const std::vector<bool>& alone = places.Alone();
    std::vector<Turn> turns;
    for (std::size_t place = 0; place < places.GetCount(); ++place) {
      if (const WritesOnWay writes(places.Writes(place), m_Way); writes) {
        turns.emplace_back(writes.Order(), m_Steps.size());
        m_Steps.push_back({writes, alone[place], nullptr});
      }
    }
    m_Queue = Queue(std::greater<>(), std::move(turns));
  }

  const ZAMXMLChangeItem& Item(const zam::PlaceWrite& write) const {
    return *m_List[static_cast<std::size_t>(write.m_nModification - m_Way.m_nFirst)]->GetChange(
        write.m_nItem);
  }

  void Take(Step& step) {
    const ZAMXMLChangeItem& item = Item(step.m_Writes.Next());
    IXMLDOMNodePtr target = zam::FindOrAddChild(m_Xml, m_Root, item.m_Node);
    const bool mayWait = Write(item, target) && step.m_IsAlone;
    step.m_Writes.Pass();
    if (mayWait && step.m_Writes) {
      step.m_Target = target;
    }
    target.Release();
  }

  /// Writes, where values wait, one of them or none.
  template <class Choose>
  void WriteWaiting(Choose choose) {
    for (Step& step : m_Steps) {
      IXMLDOMNodePtr target = std::exchange(step.m_Target, nullptr);
      if (const zam::PlaceWrite* const last = target ? choose(step.m_Writes) : nullptr) {
        Write(Item(*last), target);
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
  const Modifications& m_List;
  Way m_Way;
  _bstr_t ZAMXMLChangeItem::*m_Value;
  ZAMXMLName m_Name;
  ZAMXMLStatement m_Statements;
  std::vector<Step> m_Steps;
  using Queue = std::priority_queue<Turn, std::vector<Turn>, std::greater<>>;
  Queue m_Queue;
  std::int64_t m_nTurn =
      std::numeric_limits<std::int64_t>::min();  ///< the order of the write that is being made
};

/// Takes a move, which may run out of memory.
template <class Work>
void Planning(ZAMXml& xml, Work work) {
  try {
    work();
  } catch (const std::bad_alloc&) {
    xml.ReportShortage();
    throw _com_error(E_OUTOFMEMORY);
  }
}

/// Moves along a way for which nothing is known.
void Move(ZAMXml& xml, const IXMLDOMNodePtr& root, const Modifications& list, const Way& way) {
  zam::Places places;
  int index = way.m_nFirst;
  for (const ZAMXMLModification* const modification : list) {
    places.Add(*modification, index++);
  }
  ValueWriter(xml, root, list, way).Write(places);
}

/// Keeps what is known of a list while the list is in use: a logger that hears of a value may look
/// at the list, or add to it.
class KeptKnown {
public:
  explicit KeptKnown(std::unique_ptr<zam::KnownList>& known)
      : m_Place(known), m_Known(known ? std::move(known) : std::make_unique<zam::KnownList>()) {}
  KeptKnown(const KeptKnown&) = delete;
  KeptKnown& operator=(const KeptKnown&) = delete;
  ~KeptKnown() {
    if (!m_Place) {
      m_Place = std::move(m_Known);
    }
  }
  zam::KnownList* operator->() const { return m_Known.get(); }

private:
  std::unique_ptr<zam::KnownList>& m_Place;
  std::unique_ptr<zam::KnownList> m_Known;
};

}  // namespace

void ZAMXMLModificationGroup::RedoModification(ZAMXml& xml, IXMLDOMNodePtr& root,
                                               ZAMXMLModification* modification) {
  Planning(xml, [&] { Move(xml, root, {modification}, {0, 0, true}); });
}

void ZAMXMLModificationGroup::UndoModification(ZAMXml& xml, IXMLDOMNodePtr& root,
                                               ZAMXMLModification* modification) {
  Planning(xml, [&] { Move(xml, root, {modification}, {0, 0, false}); });
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
  if (current < -1 || current >= GetCount()) {
    throw CInvalidArgException();
  }
  const Way way{std::min(current, target) + 1, std::max(current, target), current < target};
  Planning(xml, [&] {
    const auto entries = zam::ListAccess::Entries(*this).subspan(
        static_cast<std::size_t>(way.m_nFirst), static_cast<std::size_t>(way.Length()));
    const Modifications list(entries.begin(), entries.end());
    // What is known of the whole list has to be compared with it first.
    constexpr int FarFromWhole = 8;
    if (way.Length() < GetCount() / FarFromWhole) {
      Move(xml, root, list, way);
      return;
    }
    const KeptKnown known(m_pKnown);
    known->Learn(*this);
    zam::Places& places = known->WrittenPlaces(*this);
    ValueWriter(xml, root, list, way).Write(places);
  });
  return 1;
}
