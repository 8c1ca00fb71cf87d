#include <ZAMXMLData.h>

/// The values that printers.sh looks at, from here.
__attribute__((noinline)) void Stop() { asm volatile(""); }

int main() {
  const _bstr_t none;
  const _bstr_t empty = u"";
  const _bstr_t text = u"Nováková 🙂";
  const ZAMTextView view = text;
  CString string = u"山田";
  ZAMArray<_bstr_t> list;
  for (const char16_t* entry : {u"gone", u"one", u"two", u"three"}) {
    list.Add(entry);
  }
  list.RemoveAt(0);
  ZAMXml xml;
  if (xml.New(nullptr) == 0 || xml.CreateRoot(u"Visit") == 0) {
    return 1;
  }
  const IXMLDOMNodePtr handle = xml.AddNode(u"Visit/Name", nullptr);
  const IXMLDOMNodePtr dead = xml.AddChildNode(handle, u"Given", nullptr);
  xml.RemoveChildNodeAll(handle);
  const IXMLDOMNodePtr null;
  Stop();
  return none.length() == 0 && empty.length() == 0 && view.length() != 0 && !dead && !null ? 0 : 1;
}
