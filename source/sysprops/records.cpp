// The records that the collectors fill, and the last known local address. A field holds "N/A" until a collector writes
// it; callers of the library take that text for 'not known'.

#include "zorcomn/sysprops.h"

#include "source/platform/posix.h"

namespace velmora_com {
namespace vta {
namespace sysprops {

std::wstring ISysProps::m_wstrLastKnownLocalIP;

// Kept: whether a computer is portable starts empty, not "N/A".
CPUInformation::CPUInformation()
    : CPUType(DefaultProp_Val), CPUSpeed(DefaultProp_Val), NumOfCPU(DefaultProp_Val), CPUSerialNumber(DefaultProp_Val) {
}

NetworkInformation::NetworkInformation()
    : DomainName(DefaultProp_Val), ComputerName(DefaultProp_Val), IPAddress(DefaultProp_Val),
      SubnetAddress(DefaultProp_Val), SubnetMask(DefaultProp_Val), NETAddress(DefaultProp_Val),
      IPXAddress(DefaultProp_Val), IPHostName(DefaultProp_Val) {}

MemoryInformation::MemoryInformation() : TotalPhysicalMemory(DefaultProp_Val), FreeMemory(DefaultProp_Val) {}

// Kept: the platform identifier starts empty, not "N/A".
OSInformation::OSInformation()
    : OSType(DefaultProp_Val), OSPlatform(DefaultProp_Val), OSVersion(DefaultProp_Val), OSCsdVersion(DefaultProp_Val),
      OSBuildNum(DefaultProp_Val), OSOEMId(DefaultProp_Val), OSBitMode(DefaultProp_Val) {}

DiskInformation::DiskInformation()
    : TotalDiskSpace(DefaultProp_Val), FreeDiskSpace(DefaultProp_Val), NumberOfFileSystems(DefaultProp_Val) {}

MiscInformation::MiscInformation()
    : UserName(DefaultProp_Val), TimeZone(DefaultProp_Val), DefaultLangID(DefaultProp_Val),
      LastUpdate(DefaultProp_Val) {}

ISysProps::ISysProps() = default;
ISysProps::~ISysProps() = default;

void ISysProps::updateLocalIP(const std::wstring &ip) {
    zor::guarded(false, [&] {
        m_wstrLastKnownLocalIP = ip;
        return true;
    });
}

std::wstring ISysProps::GetLastKnownLocalIP() {
    return zor::guarded(std::wstring(), [] { return m_wstrLastKnownLocalIP; });
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
