// Property lists, read by CoreFoundation.

#include "source/platform/host.h"

#include <memory>

#include <AvailabilityMacros.h>
#include <CoreFoundation/CoreFoundation.h>

namespace zor::host {

namespace {

struct Release {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};
using Owned = std::unique_ptr<const void, Release>;

/** A key's place in the answer: not there, there and readable, or there and wrong. */
struct LookUp {
    bool isSound;
    std::optional<std::string> text;
};

LookUp lookUp(CFDictionaryRef dictionary, const std::string &key) {
    const Owned name(CFStringCreateWithCString(kCFAllocatorDefault, key.c_str(), kCFStringEncodingUTF8));
    if (!name)
        return {false, std::nullopt};
    const void *value = nullptr;
    if (!CFDictionaryGetValueIfPresent(dictionary, name.get(), &value))
        return {true, std::nullopt};
    char text[256] = {};
    if (!value || CFGetTypeID(value) != CFStringGetTypeID() ||
        !CFStringGetCString(static_cast<CFStringRef>(value), text, sizeof text, kCFStringEncodingUTF8))
        return {false, std::nullopt};
    return {true, text};
}

Owned parse(const std::string &bytes) {
    const Owned data(CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8 *>(bytes.data()),
                                  static_cast<CFIndex>(bytes.size())));
    if (!data)
        return nullptr;
    const auto list = static_cast<CFDataRef>(data.get());
#if MAC_OS_X_VERSION_MIN_REQUIRED >= 1060
    return Owned(CFPropertyListCreateWithData(kCFAllocatorDefault, list, kCFPropertyListImmutable, nullptr, nullptr));
#else
    return Owned(CFPropertyListCreateFromXMLData(kCFAllocatorDefault, list, kCFPropertyListImmutable, nullptr));
#endif
}

} // namespace

std::optional<std::vector<std::optional<std::string>>> lookUpInPropertyList(const std::string &bytes,
                                                                            const std::vector<std::string> &keys) {
    const Owned list = parse(bytes);
    if (!list || CFGetTypeID(list.get()) != CFDictionaryGetTypeID())
        return std::nullopt;
    std::vector<std::optional<std::string>> texts;
    for (const std::string &key : keys) {
        LookUp answer = lookUp(static_cast<CFDictionaryRef>(list.get()), key);
        if (!answer.isSound)
            return std::nullopt;
        texts.push_back(std::move(answer.text));
    }
    return texts;
}

} // namespace zor::host
