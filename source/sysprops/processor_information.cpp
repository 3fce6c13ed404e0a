// The processor record: number, clock and names of the processors, and whether the machine is a portable. The codes of
// processors and architectures, and their names, are what callers compare with.

#include "zorcomn/sysprops.h"

#include "source/platform/four_characters.h"
#include "source/platform/host.h"
#include "source/platform/posix.h"
#include "source/portability/transcoding.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

using namespace velmora_com::vta::sysprops;
using zor::fourCharacterCode;

constexpr struct Name {
    long code;
    const char *name;
} kProcessors[] = {
    {0, "68000"},
    {1, "68010"},
    {2, "68020"},
    {3, "68030"},
    {4, "68040"},
    {0x101, "601"},
    {0x103, "603"},
    {0x104, "604"},
    {0x106, "603e"},
    {0x107, "603ev"},
    {0x108, "750"},
    {0x109, "604e"},
    {0x10A, "604ev"},
    {0x10C, "G4"},
    {0x110, "G47450"},
    {fourCharacterCode("i486"), "486"},
    {fourCharacterCode("i586"), "Pentium"},
    {fourCharacterCode("i5ii"), "PentiumII"}, // Kept: no blank here, one in the next.
    {fourCharacterCode("i5iv"), "Pentium 4"},
    {fourCharacterCode("i5pr"), "PentiumPro"},
    {fourCharacterCode("ixxx"), "X86"},
};

constexpr Name kArchitectures[] = {{1, "MC680x0"}, {2, "PowerPC"}, {10, "Intel"}};

constexpr size_t kNameSize = 2048; // far more than any name

template <size_t count> bool copyName(const Name (&names)[count], long code, char *out) {
    const Name *const end = names + count;
    const Name *const found = std::find_if(names, end, [code](const Name &name) { return name.code == code; });
    if (!out || found == end)
        return false;
    std::memcpy(out, found->name, std::strlen(found->name) + 1); // the header states how much this takes
    return true;
}

/** The name that convert gives for a code; empty for an unknown one. */
std::string nameOf(std::optional<int32_t> code, bool (*convert)(long code, char *out)) {
    char name[kNameSize] = "";
    if (code)
        convert(*code, name);
    return name;
}

std::wstring portableText() {
    bool isPortable = false;
    if (!IsPortableComputer(isPortable))
        return L"-1";
    return isPortable ? L"1" : L"0";
}

char toLowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

namespace velmora_com {
namespace vta {
namespace sysprops {

bool ISysProps::GetCPUInformation(CPUInformation &info) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(false, [&] {
        CPUInformation collected = info; // the record is written when all of it is there
        if (const std::optional<int32_t> count = zor::host::processorCount())
            collected.NumOfCPU = std::to_wstring(*count);
        // Kept: an unknown clock is one of 0 MHz; parts of a megahertz are cut off.
        collected.CPUSpeed = std::to_wstring(zor::host::processorClockHertz().value_or(0) / 1000000) + L" MHz";
        const std::string architecture = nameOf(zor::host::architectureCode(), ConvertGestaltSysArchToString);
        const std::string processor = nameOf(zor::host::processorCode(), ConvertGestaltCPUTypeToString);
        const bool areBothKnown = !architecture.empty() && !processor.empty();
        collected.CPUType = zor::wideOf(architecture + (areBothKnown ? " " : "") + processor);
        // Kept: without any name the portable flag is not asked for and stays as it was.
        const bool isNamed = !collected.CPUType.empty();
        if (isNamed)
            collected.IsPortable = portableText();
        info = std::move(collected);
        return isNamed;
    });
}

bool ConvertGestaltCPUTypeToString(long code, char *out) {
    return copyName(kProcessors, code, out);
}

bool ConvertGestaltSysArchToString(long code, char *out) {
    return copyName(kArchitectures, code, out);
}

bool IsPortableComputer(bool &portable) {
    const zor::UncancellableScope uncancellable;
    portable = false;
    return zor::guarded(false, [&] {
        std::optional<std::string> model = zor::host::hardwareModel();
        if (!model)
            return false;
        std::transform(model->begin(), model->end(), model->begin(), toLowerAscii);
        // Kept: "book" anywhere in the name makes a portable.
        portable = model->find("book") != std::string::npos;
        return true;
    });
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
