// Uses the installed library the way another project would: a conversion, a
// tag read out of XML text and a percent-encoded value. Posts nothing.
#include <comm/CommunicationLibrary.h>
#include <utils/Utils.h>
#include <xml/XMLUtility.h>

#include <cstdio>

int main() {
    const std::string utf8 = Utils::wstring2utf8(Utils::utf8towstring("Gr\xC3\xBC\xC3\x9F"
                                                                      "e"));
    XMLUtility xml;
    std::string status;
    const bool found =
        xml.GetValueForOutermostTag("<reply><status>ok</status></reply>", "status", status);
    const std::string encoded = CommunicationLibrary().EncodeFormValue("a b&c");
    std::printf("%s %s %s\n", utf8.c_str(), found ? status.c_str() : "-", encoded.c_str());
    return utf8 == "Gr\xC3\xBC\xC3\x9F"
                   "e" &&
                   status == "ok" && encoded == "a+b&c"
               ? 0
               : 1;
}
