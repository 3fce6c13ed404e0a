#include "source/platform/linux/xml_tokens.h"

#include <algorithm>
#include <cstdint>

namespace zor::host {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr size_t kMaxAttributes = 16; // of a tag; each is compared with those before it

bool isBlank(char c) {
    return kBlanks.find(c) != std::string_view::npos;
}

bool isNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
}

bool isNameCharacter(char c) {
    return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

/** Whether a document may hold the character, as itself or by reference. */
bool isXmlCharacter(uint32_t c) {
    if (c < 0x20)
        return c == '\t' || c == '\n' || c == '\r';
    return c <= 0xD7FF || (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

/** How many bytes a UTF-8 sequence with this first byte has, and the bits of the character that it carries; 0 for what
 * is no first byte. */
size_t sequenceLength(unsigned char first, uint32_t &bits) {
    if (first < 0x80) {
        bits = first;
        return 1;
    }
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    bits = first & (0x7Fu >> length);
    return first >= 0xC0 && first < 0xF8 ? length : 0;
}

/** Takes one character off the front; nothing where there is no valid UTF-8 sequence. */
std::optional<uint32_t> takeCharacter(std::string_view &text) {
    constexpr uint32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000}; // by length; smaller values have shorter sequences
    uint32_t character = 0;
    const size_t length = sequenceLength(static_cast<unsigned char>(text.front()), character);
    if (length == 0 || length > text.size())
        return std::nullopt;
    for (size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0u) != 0x80)
            return std::nullopt;
        character = character << 6 | (byte & 0x3Fu);
    }
    if (character < kLowest[length])
        return std::nullopt;
    text.remove_prefix(length);
    return character;
}

bool isXmlText(std::string_view text) {
    while (!text.empty()) {
        const std::optional<uint32_t> character = takeCharacter(text);
        if (!character || !isXmlCharacter(*character))
            return false;
    }
    return true;
}

void appendUtf8(std::string &text, uint32_t c) {
    if (c < 0x80) {
        text += static_cast<char>(c);
        return;
    }
    constexpr uint32_t kFirstByte[] = {0, 0xC0, 0xE0, 0xF0}; // by the number of bytes that follow
    const int following = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    text += static_cast<char>(kFirstByte[following] | c >> (6 * following));
    for (int shift = 6 * (following - 1); shift >= 0; shift -= 6)
        text += static_cast<char>(0x80u | (c >> shift & 0x3Fu));
}

/** Appends text as it stands in the document: a line may end in CR LF, CR or LF and always reads as LF. */
void appendLines(std::string &text, std::string_view raw) {
    for (size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] != '\r')
            text += raw[i];
        else if (i + 1 == raw.size() || raw[i + 1] != '\n')
            text += '\n';
    }
}

/** The value of a numeric reference's digits, "65" or "x41". */
std::optional<uint32_t> referredCharacter(std::string_view digits) {
    const bool isHexadecimal = !digits.empty() && digits.front() == 'x';
    if (isHexadecimal)
        digits.remove_prefix(1);
    const uint32_t base = isHexadecimal ? 16 : 10;
    uint32_t value = 0;
    for (const char c : digits) {
        const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
        const size_t digit = std::string_view("0123456789abcdef").find(lower);
        if (digit >= base)
            return std::nullopt;
        value = value * base + static_cast<uint32_t>(digit);
        if (value > 0x10FFFF)
            return std::nullopt;
    }
    if (digits.empty() || !isXmlCharacter(value))
        return std::nullopt;
    return value;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lower) {
    return text.size() == lower.size() && std::equal(text.begin(), text.end(), lower.begin(), [](char a, char b) {
               return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
           });
}

/** Whether a public identifier holds nothing but what one may. */
bool isPublicIdentifier(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               std::string_view(" \r\n-'()+,./:=?;!*#@$_%").find(c) != std::string_view::npos;
    });
}

} // namespace

XmlTokens::XmlTokens(std::string_view document) : m_rest(document), m_isSound(isXmlText(document)) {
    if (m_isSound) {
        skip("\xEF\xBB\xBF"); // the byte order mark
        m_isSound = skipDeclaration();
    }
}

std::optional<XmlToken> XmlTokens::next() {
    if (!m_isSound)
        return std::nullopt;
    if (m_openElements == 0) {
        if (!skipOutsideRoot())
            return std::nullopt;
        if (isAtEnd())
            return m_hadRoot ? std::optional<XmlToken>(XmlToken{XmlToken::Kind::end, {}, {}, false}) : std::nullopt;
    } else {
        XmlToken token{XmlToken::Kind::text, {}, {}, false};
        if (!readText(token.text))
            return std::nullopt;
        if (!token.text.empty())
            return token;
    }
    return skip("</") ? readEndTag() : readStartTag();
}

bool XmlTokens::skip(std::string_view expected) {
    if (m_rest.substr(0, expected.size()) != expected)
        return false;
    m_rest.remove_prefix(expected.size());
    return true;
}

bool XmlTokens::skipPast(std::string_view terminator, std::string_view &skipped) {
    const size_t end = m_rest.find(terminator);
    if (end == std::string_view::npos)
        return false;
    skipped = m_rest.substr(0, end);
    m_rest.remove_prefix(end + terminator.size());
    return true;
}

/** Skips white space; whether there was any. */
bool XmlTokens::skipBlanks() {
    const size_t length = std::min(m_rest.find_first_not_of(kBlanks), m_rest.size());
    m_rest.remove_prefix(length);
    return length > 0;
}

/** Skips the XML declaration, where there is one. */
bool XmlTokens::skipDeclaration() {
    if (m_rest.substr(0, 5) != "<?xml" || m_rest.size() < 6 || !isBlank(m_rest[5]))
        return true;
    m_rest.remove_prefix(5);
    std::string_view version = {};
    std::string_view encoding = "utf-8";
    std::string_view standalone = "no";
    if (!readPseudoAttribute("version", version) || version != "1.0" || !readPseudoAttribute("encoding", encoding) ||
        !readPseudoAttribute("standalone", standalone))
        return false;
    skipBlanks();
    return (equalsIgnoringCase(encoding, "utf-8") || equalsIgnoringCase(encoding, "us-ascii")) &&
           (standalone == "yes" || standalone == "no") && skip("?>");
}

/** Reads one of the declaration's items; its value stays as it was when the item is not the next one. */
bool XmlTokens::readPseudoAttribute(std::string_view name, std::string_view &value) {
    const std::string_view before = m_rest;
    if (!skipBlanks() || !skip(name)) {
        m_rest = before;
        return true;
    }
    skipBlanks();
    if (!skip("="))
        return false;
    skipBlanks();
    return skipQuoted(value);
}

bool XmlTokens::skipQuoted(std::string_view &value) {
    return skip("\"") ? skipPast("\"", value) : skip("'") && skipPast("'", value);
}

/** Skips a comment whose "<!--" is behind; two hyphens end it, nothing else may follow them. */
bool XmlTokens::skipComment() {
    std::string_view comment;
    return skipPast("--", comment) && skip(">");
}

/** Skips a processing instruction whose "<?" is behind. */
bool XmlTokens::skipInstruction() {
    std::string target;
    std::string_view rest;
    return readName(target) && !equalsIgnoringCase(target, "xml") && skipPast("?>", rest) &&
           (rest.empty() || isBlank(rest.front()));
}

/** Skips a document type whose "<!DOCTYPE" is behind; one with declarations in brackets is refused. */
bool XmlTokens::skipDocumentType() {
    std::string name;
    std::string_view identifier;
    if (m_hadDocumentType || m_hadRoot || !skipBlanks() || !readName(name))
        return false;
    m_hadDocumentType = true;
    if (skipBlanks()) {
        const bool isPublic = skip("PUBLIC");
        if (isPublic && (!skipBlanks() || !skipQuoted(identifier) || !isPublicIdentifier(identifier)))
            return false;
        if ((isPublic || skip("SYSTEM")) && (!skipBlanks() || !skipQuoted(identifier)))
            return false;
        skipBlanks();
    }
    return skip(">");
}

/** Skips what may stand before and behind the root element; behind it, white space and comments alone. */
bool XmlTokens::skipOutsideRoot() {
    for (;;) {
        skipBlanks();
        if (skip("<!--")) {
            if (!skipComment())
                return false;
        } else if (skip("<?")) {
            if (m_hadRoot || !skipInstruction())
                return false;
        } else if (skip("<!DOCTYPE")) {
            if (!skipDocumentType())
                return false;
        } else {
            return true;
        }
    }
}

bool XmlTokens::readName(std::string &name) {
    if (isAtEnd() || !isNameStart(m_rest.front()))
        return false;
    const auto end = std::find_if_not(m_rest.begin(), m_rest.end(), isNameCharacter);
    name.assign(m_rest.begin(), end);
    m_rest.remove_prefix(name.size());
    return true;
}

/** Reads a reference whose "&" is behind. */
bool XmlTokens::readReference(std::string &text) {
    constexpr struct {
        std::string_view name;
        char character;
    } kNamed[] = {{"amp;", '&'}, {"lt;", '<'}, {"gt;", '>'}, {"quot;", '"'}, {"apos;", '\''}};
    for (const auto &reference : kNamed)
        if (skip(reference.name)) {
            text += reference.character;
            return true;
        }
    std::string_view digits;
    if (!skip("#") || !skipPast(";", digits))
        return false;
    const std::optional<uint32_t> character = referredCharacter(digits);
    if (character)
        appendUtf8(text, *character);
    return character.has_value();
}

/** Reads all text up to the next tag, through references, marked sections, comments and instructions. */
bool XmlTokens::readText(std::string &text) {
    for (;;) {
        const std::string_view plain = m_rest.substr(0, m_rest.find_first_of("<&"));
        if (plain.find("]]>") != std::string_view::npos)
            return false;
        appendLines(text, plain);
        m_rest.remove_prefix(plain.size());
        std::string_view section;
        if (skip("&")) {
            if (!readReference(text))
                return false;
        } else if (skip("<![CDATA[")) {
            if (!skipPast("]]>", section))
                return false;
            appendLines(text, section);
        } else if (skip("<!--")) {
            if (!skipComment())
                return false;
        } else if (skip("<?")) {
            if (!skipInstruction())
                return false;
        } else {
            return true;
        }
    }
}

/** Reads a start tag's attributes, up to its ">" or "/>"; their values are checked and dropped. */
bool XmlTokens::readAttributes(std::vector<std::string> &attributes) {
    while (skipBlanks() && !isAtEnd() && isNameStart(m_rest.front())) {
        std::string name;
        std::string_view value;
        if (attributes.size() == kMaxAttributes || !readName(name) ||
            std::find(attributes.begin(), attributes.end(), name) != attributes.end())
            return false;
        skipBlanks();
        if (!skip("="))
            return false;
        skipBlanks();
        if (!skipQuoted(value) || value.find_first_of("<&") != std::string_view::npos)
            return false;
        attributes.push_back(std::move(name));
    }
    return true;
}

std::optional<XmlToken> XmlTokens::readStartTag() {
    XmlToken token{XmlToken::Kind::startTag, {}, {}, false};
    if (!skip("<") || !readName(token.text) || !readAttributes(token.attributes))
        return std::nullopt;
    token.isEmptyElement = skip("/");
    const bool isSecondRoot = m_openElements == 0 && m_hadRoot;
    if (!skip(">") || isSecondRoot)
        return std::nullopt;
    m_hadRoot = true;
    if (!token.isEmptyElement)
        ++m_openElements;
    return token;
}

/** Reads an end tag whose "</" is behind. */
std::optional<XmlToken> XmlTokens::readEndTag() {
    XmlToken token{XmlToken::Kind::endTag, {}, {}, false};
    if (m_openElements == 0 || !readName(token.text))
        return std::nullopt;
    skipBlanks();
    if (!skip(">"))
        return std::nullopt;
    --m_openElements;
    return token;
}

} // namespace zor::host
