// A small strict reader of XML property lists: it answers for the string values of the dictionary at the root, and
// checks everything else that the list holds, so that a damaged list is never half believed.

#include "source/platform/host.h"

#include "source/platform/linux/xml_tokens.h"

#include <algorithm>
#include <charconv>

namespace zor::host {

namespace {

constexpr int kMaxDepth = 128; // of arrays and dictionaries in each other; no honest list comes near

using Kind = XmlToken::Kind;

constexpr std::string_view kBlanks = " \t\r\n";

bool isWhiteSpace(std::string_view text) {
    return text.find_first_not_of(kBlanks) == std::string_view::npos;
}

std::string_view withoutBlanks(std::string_view text) {
    const size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

template <class Number> bool isWholeNumber(std::string_view text, int base) {
    Number number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    return error == std::errc() && stop == end;
}

bool isInteger(std::string_view text) {
    text = withoutBlanks(text);
    const bool isNegative = text.substr(0, 1) == "-";
    if (isNegative || text.substr(0, 1) == "+")
        text.remove_prefix(1);
    const bool isHexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    if (isHexadecimal)
        text.remove_prefix(2);
    return isWholeNumber<uint64_t>(text, isHexadecimal ? 16 : 10);
}

bool isReal(std::string_view text) {
    text = withoutBlanks(text);
    if (text.substr(0, 1) == "+" && text.substr(1, 1) != "-")
        text.remove_prefix(1);
    double number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error != std::errc::invalid_argument && stop == end;
}

bool isDate(std::string_view text) {
    constexpr std::string_view kPattern = "0000-00-00T00:00:00Z";
    return text.size() == kPattern.size() &&
           std::equal(text.begin(), text.end(), kPattern.begin(),
                      [](char c, char pattern) { return pattern == '0' ? c >= '0' && c <= '9' : c == pattern; });
}

bool isBase64(std::string_view text) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    size_t digits = 0;
    size_t padding = 0;
    for (const char c : text) {
        if (kBlanks.find(c) != std::string_view::npos)
            continue;
        if (c == '=')
            ++padding;
        else if (padding > 0 || kDigits.find(c) == std::string_view::npos)
            return false;
        else
            ++digits;
    }
    return (digits + padding) % 4 == 0 && padding <= 2;
}

bool isNothing(std::string_view text) {
    return text.empty();
}

bool isAnything(std::string_view) {
    return true;
}

// The values that hold no others.
constexpr struct {
    std::string_view tag;
    bool (*isContent)(std::string_view text);
} kLeaves[] = {
    {"string", isAnything}, {"integer", isInteger}, {"real", isReal},     {"date", isDate},
    {"data", isBase64},     {"true", isNothing},    {"false", isNothing},
};

/** One key's answer while the list is read. */
struct Wanted {
    std::string key;
    std::optional<std::string> text;
};

class PropertyListReader {
public:
    PropertyListReader(const std::string &bytes, const std::vector<std::string> &keys) : m_tokens(bytes) {
        for (const std::string &key : keys)
            m_wanted.push_back({key, std::nullopt});
    }

    /** The document: a dictionary, commonly inside a "plist" element, and nothing behind it. */
    std::optional<std::vector<std::optional<std::string>>> read() {
        std::optional<XmlToken> token = m_tokens.next();
        const bool hasFrame = token && isStart(*token, "plist");
        if (hasFrame) {
            const auto isVersion = [](const std::string &name) { return name == "version"; };
            if (token->isEmptyElement || !std::all_of(token->attributes.begin(), token->attributes.end(), isVersion))
                return std::nullopt;
            token = nextTag();
        }
        if (!token || !isStart(*token, "dict") || !readRoot(*token))
            return std::nullopt;
        if (hasFrame) {
            token = nextTag();
            if (!token || !isEnd(*token, "plist"))
                return std::nullopt;
        }
        token = m_tokens.next();
        if (!token || token->kind != Kind::end)
            return std::nullopt;
        std::vector<std::optional<std::string>> texts;
        for (Wanted &wanted : m_wanted)
            texts.push_back(std::move(wanted.text));
        return texts;
    }

private:
    static bool isStart(const XmlToken &token, std::string_view name) {
        return token.kind == Kind::startTag && token.text == name;
    }

    static bool isEnd(const XmlToken &token, std::string_view name) {
        return token.kind == Kind::endTag && token.text == name;
    }

    /** The next tag; nothing when anything but white space stands before it, or the document ends. */
    std::optional<XmlToken> nextTag() {
        std::optional<XmlToken> token = m_tokens.next();
        if (token && token->kind == Kind::text)
            token = isWhiteSpace(token->text) ? m_tokens.next() : std::nullopt;
        return token && token->kind != Kind::end ? token : std::nullopt;
    }

    /** The text of an element that holds nothing else. */
    std::optional<std::string> readContent(const XmlToken &start) {
        if (!start.attributes.empty())
            return std::nullopt;
        if (start.isEmptyElement)
            return std::string();
        std::optional<XmlToken> token = m_tokens.next();
        std::string content;
        if (token && token->kind == Kind::text) {
            content = std::move(token->text);
            token = m_tokens.next();
        }
        if (!token || !isEnd(*token, start.text))
            return std::nullopt;
        return content;
    }

    /** Reads a dictionary; readEntry(key, start) reads each value, whose start tag is behind. */
    template <class ReadEntry> bool readDictionary(const XmlToken &start, ReadEntry readEntry) {
        if (!start.attributes.empty())
            return false;
        if (start.isEmptyElement)
            return true;
        for (;;) {
            const std::optional<XmlToken> keyStart = nextTag();
            if (keyStart && isEnd(*keyStart, "dict"))
                return true;
            if (!keyStart || !isStart(*keyStart, "key"))
                return false;
            const std::optional<std::string> key = readContent(*keyStart);
            const std::optional<XmlToken> value = key ? nextTag() : std::nullopt;
            if (!value || value->kind != Kind::startTag || !readEntry(*key, *value))
                return false;
        }
    }

    bool readArray(const XmlToken &start, int depth) {
        if (!start.attributes.empty())
            return false;
        if (start.isEmptyElement)
            return true;
        for (;;) {
            const std::optional<XmlToken> value = nextTag();
            if (value && isEnd(*value, "array"))
                return true;
            if (!value || value->kind != Kind::startTag || !skipValue(*value, depth + 1))
                return false;
        }
    }

    bool skipValue(const XmlToken &start, int depth) {
        if (depth > kMaxDepth)
            return false;
        if (start.text == "dict")
            return readDictionary(
                start, [&](const std::string &, const XmlToken &value) { return skipValue(value, depth + 1); });
        if (start.text == "array")
            return readArray(start, depth);
        for (const auto &leaf : kLeaves)
            if (leaf.tag == start.text) {
                const std::optional<std::string> content = readContent(start);
                return content && leaf.isContent(*content);
            }
        return false;
    }

    bool readRoot(const XmlToken &start) {
        return readDictionary(start, [&](const std::string &key, const XmlToken &value) {
            const auto wanted = std::find_if(m_wanted.begin(), m_wanted.end(),
                                             [&](const Wanted &candidate) { return candidate.key == key; });
            if (wanted == m_wanted.end())
                return skipValue(value, 1);
            // No string, or one of two answers: neither can be relied on.
            if (wanted->text || value.text != "string")
                return false;
            wanted->text = readContent(value);
            return wanted->text.has_value();
        });
    }

    XmlTokens m_tokens;
    std::vector<Wanted> m_wanted;
};

} // namespace

std::optional<std::vector<std::optional<std::string>>> lookUpInPropertyList(const std::string &bytes,
                                                                            const std::vector<std::string> &keys) {
    return PropertyListReader(bytes, keys).read();
}

} // namespace zor::host
