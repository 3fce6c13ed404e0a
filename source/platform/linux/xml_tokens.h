#pragma once

// Takes an XML document apart into tags and texts, and refuses what is not well-formed. It knows UTF-8 (and so ASCII)
// only, and no document type with declarations of its own: without them nothing can expand, and no reference but the
// five named ones means anything. Whether the tags match each other is for the reader of the tokens to see. Stricter
// than XML: behind the root element it takes no instruction.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zor::host {

struct XmlToken {
    enum class Kind { startTag, endTag, text, end };
    Kind kind;
    std::string text;                    // the tag's name, or the text with references and line ends resolved
    std::vector<std::string> attributes; // a start tag's attribute names
    bool isEmptyElement = false;         // a start tag that is its own end, "<name/>"
};

class XmlTokens {
public:
    /** The document must outlive the object. */
    explicit XmlTokens(std::string_view document);

    /** The next token: kind end once the whole document has been read; nothing when it is malformed. Between two tags,
     * all text comes as one token; outside the root element, white space and comments come as none. */
    std::optional<XmlToken> next();

private:
    bool isAtEnd() const { return m_rest.empty(); }
    bool skip(std::string_view expected);
    bool skipPast(std::string_view terminator, std::string_view &skipped);
    bool skipBlanks();
    bool skipDeclaration();
    bool skipComment();
    bool skipInstruction();
    bool skipDocumentType();
    bool skipQuoted(std::string_view &value);
    bool skipOutsideRoot();
    bool readName(std::string &name);
    bool readPseudoAttribute(std::string_view name, std::string_view &value);
    bool readReference(std::string &text);
    bool readText(std::string &text);
    bool readAttributes(std::vector<std::string> &attributes);
    std::optional<XmlToken> readStartTag();
    std::optional<XmlToken> readEndTag();

    std::string_view m_rest;
    size_t m_openElements = 0;
    bool m_isSound;
    bool m_hadDocumentType = false;
    bool m_hadRoot = false;
};

} // namespace zor::host
