// A small host of an installed copy: subclasses the document, opens the one given, and catches an
// exception that the library throws.

#include <ZAMXMLData.h>

#include <cstdio>

namespace {

class Document : public ZAMXMLFile {
public:
  int m_nShown = 0;

protected:
  void OnHistoryChanged() override { ++m_nShown; }
};

bool NullHandleIsRefused() {
  try {
    IXMLDOMNodePtr().Release();
  } catch (const _com_error& error) {
    return error.Error() == E_POINTER;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  Document document;
  if (argc != 2 || !document.Open(argv[1], nullptr)) return 1;
  if (document.GetHistoryCount() == 0 || !document.SetHistoryToOriginal()) return 2;
  if (document.m_nShown != 1 || document.m_PatientInfo.m_ID.length() == 0) return 3;
  if (!NullHandleIsRefused()) return 4;
  std::puts("the installed copy works");
  return 0;
}
