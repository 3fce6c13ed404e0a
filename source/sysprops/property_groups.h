#pragma once

// Which property is held by which field of which record; the one table behind single queries and the full collection.
// Within a group the rows stand in the order in which names are compared.

#include "zorcomn/sysprops.h"

namespace zor {

namespace sysprops = velmora_com::vta::sysprops;

template <class Record> struct PropertyField {
    const std::wstring &name;
    std::wstring Record::*field;
};

inline constexpr PropertyField<sysprops::NetworkInformation> kNetworkFields[] = {
    {sysprops::ComputerName_Key, &sysprops::NetworkInformation::ComputerName},
    {sysprops::DomainName_Key, &sysprops::NetworkInformation::DomainName},
    {sysprops::IPAddress_Key, &sysprops::NetworkInformation::IPAddress},
    {sysprops::IPHostName_Key, &sysprops::NetworkInformation::IPHostName},
    {sysprops::IPXAddress_Key, &sysprops::NetworkInformation::IPXAddress},
    {sysprops::NETAddress_Key, &sysprops::NetworkInformation::NETAddress},
    {sysprops::SubnetAddress_Key, &sysprops::NetworkInformation::SubnetAddress},
    {sysprops::SubnetMask_Key, &sysprops::NetworkInformation::SubnetMask},
};

inline constexpr PropertyField<sysprops::CPUInformation> kProcessorFields[] = {
    {sysprops::CPUType_Key, &sysprops::CPUInformation::CPUType},
    {sysprops::NumOfCPU_Key, &sysprops::CPUInformation::NumOfCPU},
    {sysprops::CPUSpeed_Key, &sysprops::CPUInformation::CPUSpeed},
    {sysprops::CPUPortable_Key, &sysprops::CPUInformation::IsPortable},
    {sysprops::CPUSerialNumber_Key, &sysprops::CPUInformation::CPUSerialNumber},
};

inline constexpr PropertyField<sysprops::MemoryInformation> kMemoryFields[] = {
    {sysprops::TotalPhysicalMemory_Key, &sysprops::MemoryInformation::TotalPhysicalMemory},
    {sysprops::FreeMemory_Key, &sysprops::MemoryInformation::FreeMemory},
};

inline constexpr PropertyField<sysprops::MiscInformation> kMiscFields[] = {
    {sysprops::UserName_Key, &sysprops::MiscInformation::UserName},
    {sysprops::TimeZone_Key, &sysprops::MiscInformation::TimeZone},
    {sysprops::DefaultLangID_Key, &sysprops::MiscInformation::DefaultLangID},
    {sysprops::LastUpdate_Key, &sysprops::MiscInformation::LastUpdate},
};

inline constexpr PropertyField<sysprops::DiskInformation> kDiskFields[] = {
    {sysprops::FreeDiskSpace_Key, &sysprops::DiskInformation::FreeDiskSpace},
    {sysprops::TotalDiskSpace_Key, &sysprops::DiskInformation::TotalDiskSpace},
    {sysprops::NumFileSystems_Key, &sysprops::DiskInformation::NumberOfFileSystems},
};

inline constexpr PropertyField<sysprops::OSInformation> kOperatingSystemFields[] = {
    {sysprops::OSType_Key, &sysprops::OSInformation::OSType},
    {sysprops::OSBitMode_Key, &sysprops::OSInformation::OSBitMode},
    {sysprops::OSPlatform_Key, &sysprops::OSInformation::OSPlatform},
    {sysprops::OSVersion_Key, &sysprops::OSInformation::OSVersion},
    {sysprops::OSBuildNum_Key, &sysprops::OSInformation::OSBuildNum},
    {sysprops::OSCsdVersion_Key, &sysprops::OSInformation::OSCsdVersion},
    {sysprops::OSOEMId_Key, &sysprops::OSInformation::OSOEMId},
    {sysprops::PlatformId_Key, &sysprops::OSInformation::PlatformID},
};

} // namespace zor
