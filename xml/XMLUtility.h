// Reads values out of XML text held whole in a string, and converts its
// character and entity references.
//
// This is not a parser. Every operation is a byte-exact, case-sensitive
// search for an opening key and a closing key, and a value is the text
// between them. Tags are found only in the spellings the operations build:
// "<name>", "</name>", "<name " and name="..."; whitespace, attribute order,
// single quotes, comments and nesting are not understood. A nested element of
// the same name cuts the outer value short. Callers rely on these exact
// matching rules, and on what each operation leaves in its result argument
// when it fails (cleared, unchanged, or the values found so far), which is
// documented per operation.
//
// The class has no state: make one on the stack and call it from any thread.
#pragma once

#include <string>
#include <vector>

#include "utils/Export.h"

// The XML text operations; see the top of this file for the matching rules.
class QUORVEL_EXPORT XMLUtility {
public:
    XMLUtility() = default;
    virtual ~XMLUtility() = default;

    // --- Single values -----------------------------------------------------

    // The text between the first "<tag>" and the last "</tag>" behind it.
    // `value` is cleared first; false when the text is shorter than the tag
    // plus 2 or either key is missing.
    bool GetValueForOutermostTag(const std::string& text, const std::string& tag,
                                 std::string& value);

    // The text between the first `open` and the last `close` behind it. An
    // empty text, or one shorter than both keys together, gives false and
    // leaves `value` unchanged; a failed search gives false and clears it.
    bool GetValueForOutermostKey(const std::string& text, const std::string& open,
                                 const std::string& close, std::string& value);

    // The text between the first `open` and the first `close` behind it.
    // `value` is cleared on every failure.
    bool GetValuesInsideKey(const std::string& text, const std::string& open,
                            const std::string& close, std::string& value);

    // The value of the first name="..." in the text (the name matches as a
    // substring, so "id" also finds userid="..."). An empty text or name gives
    // false with `value` unchanged; a failed search clears it.
    bool GetAttribute(const std::string& text, const std::string& name, std::string& value);

    // The content of the first <![CDATA[...]]> section; empty when there is
    // none.
    void GetValueInsideCDATA(const std::string& text, std::string& value);

    // --- Several values, in text order ---------------------------------------

    // Every value between "<tag>" and the first "</tag>" behind it. `values`
    // is cleared first.
    void GetValuesForTag(const std::string& text, const std::string& tag,
                         std::vector<std::string>& values);

    // Every whole element from "<tag " (tag with attributes) through the
    // first "</tag>" behind it, both keys included. `values` is cleared first.
    void GetValuesWithElement(const std::string& text, const std::string& tag,
                              std::vector<std::string>& values);

    // The value of every name="..." in the text. `values` is cleared first.
    void GetAttributes(const std::string& text, const std::string& name,
                       std::vector<std::string>& values);

    // Appends every value between `open` and the first `close` behind it,
    // keys excluded; stops at the first failed search. Two empty keys append
    // nothing.
    void GetValuesInsideKeys(const std::string& text, const std::string& open,
                             const std::string& close, std::vector<std::string>& values);

    // As `GetValuesInsideKeys`, but appends each span with both keys included.
    void GetValuesBetweenKeys(const std::string& text, const std::string& open,
                              const std::string& close, std::vector<std::string>& values);

    // --- Replacing and references ---------------------------------------------

    // `text` with every occurrence of `search` replaced, left to right;
    // scanning resumes behind each inserted replacement, so it is never
    // searched again. An empty text or an empty search gives an empty result.
    void ReplaceAllString(const std::string& text, const std::string& search,
                          const std::string& replacement, std::string& result);

    // Removes numeric character references, then decodes the entities. False
    // with an empty result for an empty text, or when nothing but numeric
    // references was left to decode.
    bool ConvertStringReferenceToUTF8(const std::string& text, std::string& result);

    // Removes every "&#...;" reference (they are dropped, not decoded); "&#"
    // without a ";" behind it loses just those two bytes. False for an empty
    // text.
    bool ConvertStringCharacterReferenceToUTF8(const std::string& text, std::string& result);

    // Decodes &quot; &amp; &apos; &lt; &gt; in that order, each over the
    // output of the one before, so "&amp;lt;" gives "<" while "&amp;quot;"
    // gives "&quot;". False for an empty text.
    bool ConvertStringEntityReferenceToUTF8(const std::string& text, std::string& result);

    // Same as `ConvertStringUTF8ToEntityReference`.
    bool ConvertStringUTF8ToReference(const std::string& text, std::string& result);

    // Escapes & " ' < > CR LF as &amp; &quot; &apos; &lt; &gt; &#13; &#10;.
    // False for an empty text.
    bool ConvertStringUTF8ToEntityReference(const std::string& text, std::string& result);

    // Does nothing and returns true; `result` is left as it was.
    bool ConvertStringUTF8ToCharacterReference(const std::string& text, std::string& result);
};
