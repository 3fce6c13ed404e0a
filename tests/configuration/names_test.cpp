// The configuration names as a program sees them that links the shared library: the table is filled by the program's
// own static initialisers, which may use the library's constants already.

#include "zorcomn/configuration.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace velmora_com::vta;

namespace {

template <class String> struct Row {
    const char *name;
    const String *constant;
    String atStart; // as the static initialiser found it
    const typename String::value_type *value;
};

#define ROW(name, value)                                                                                               \
    { #name, &name, name, value }

const std::vector<Row<std::wstring>> kWide = {
    ROW(section_general, L"General"),
    ROW(section_network, L"Network"),
    ROW(section_listenserver, L"AgentListenServer"),
    ROW(section_events, L"AgentEvents"),
    ROW(section_logging, L"AgentLogging"),
    ROW(section_sitelist, L"SiteList"),
    ROW(section_proxy, L"ProxySettings"),
    ROW(section_version_control, L"VersionControl"),
    ROW(section_inetmanager, L"InetManager"),
    ROW(section_advanced, L"Advanced"),
    ROW(key_EnforcePolicy, L"EnforcePolicy"),
    ROW(key_general_bCollectFullProps, L"bCollectFullProps"),
    ROW(key_general_PolicyEnforcementInterval, L"PolicyEnforcementInterval"),
    ROW(key_general_force_install, L"ForceInstall"),
    ROW(key_network_bAgentASCI, L"bAgentASCI"),
    ROW(key_network_asci_interval, L"CheckNetworkMessageInterval"),
    ROW(key_network_asci_do_when, L"AsciDoWhen"),
    ROW(key_relay_service_enabled, L"bEnableRelayService"),
    ROW(key_p2p_service_enabled, L"bEnableP2PService"),
    ROW(key_agent_serviceport, L"AgtServiceMgrPort"),
    ROW(key_count_relay_failure_connections, L"FAILED_TO_CONN_SERVER"),
    ROW(key_count_relay_max_connections_exceeded, L"MAX_CONN_EXCEEDED"),
    ROW(key_ls_bEnableAgentPing, L"bEnableAgentPing"),
    ROW(key_ls_bEnableRelayService, L"bEnableRelayService"),
    ROW(key_ls_AgentPingPort, L"AgentPingPort"),
    ROW(key_ls_bListenToTZXServerOnly, L"bListenToTZXServerOnly"),
    ROW(key_events_EnableEventTrigger, L"AgPlcyEnableEventTrigger"),
    ROW(key_events_EventTriggerThreshold, L"AgPlcyEventTriggerThreshold"),
    ROW(key_events_EventTriggerDelayMins, L"AgPlcyEventTriggerDelayMins"),
    ROW(key_events_MaxEventsPerTrigger, L"AgPlcyMaxEventsPerTrigger"),
    ROW(key_log_bEnableLog, L"bEnableLog"),
    ROW(key_log_bLimitLogSize, L"bLimitLogSize"),
    ROW(key_log_nLogSizeLimit, L"nLogSizeLimit"),
    ROW(key_log_bVerbose, L"bVerbose"),
    ROW(key_log_bEnableRemoteLog, L"bEnableRemoteLog"),
    ROW(key_sl_NumberOfSites, L"uiNumberOfSites"),
    ROW(key_sl_protocol, L"uiSiteType"),
    ROW(key_sl_enabled, L"bEnabled"),
    ROW(key_sl_site_id, L"szID"),
    ROW(key_sl_site_name, L"szName"),
    ROW(key_sl_sites_server, L"szServer"),
    ROW(key_sl_server_name, L"szServerName"),
    ROW(key_sl_server_ip, L"szServerIP"),
    ROW(key_sl_share_name, L"szShareName"),
    ROW(key_sl_relative_path, L"szRelativePath"),
    ROW(key_sl_site_port, L"uiPort"),
    ROW(key_sl_type, L"uiType"),
    ROW(key_sl_use_auth, L"bUseAuth"),
    ROW(key_sl_user_name, L"szUserName"),
    ROW(key_sl_password, L"szPassword"),
    ROW(key_sl_password_encrypted, L"bEncrypted"),
    ROW(key_sl_domain, L"szDomainName"),
    ROW(key_sl_order, L"uiOrder"),
    ROW(key_sl_local, L"bLocal"),
    ROW(key_proxy_type, L"uiUseProxyType"),
    ROW(key_proxy_http_server, L"szHttpProxyServer"),
    ROW(key_proxy_http_port, L"uiHttpProxyPort"),
    ROW(key_proxy_http_use_auth, L"bUseHttpAuthentication"),
    ROW(key_proxy_http_user, L"szHttpProxyUser"),
    ROW(key_proxy_http_password, L"szHttpProxyPassword"),
    ROW(key_proxy_ftp_server, L"szFtpProxyServer"),
    ROW(key_proxy_ftp_port, L"uiFtpProxyPort"),
    ROW(key_proxy_ftp_use_auth, L"bUseFtpAuthentication"),
    ROW(key_proxy_ftp_user, L"szFtpProxyUser"),
    ROW(key_proxy_ftp_password, L"szFtpProxyPassword"),
    ROW(key_proxy_num_exceptions, L"uiNumExceptions"),
    ROW(key_proxy_exception, L"Exception"),
    ROW(key_proxy_bypass_local, L"bBypassLocalAddress"),
    ROW(key_vc_version, L"Version"),
    ROW(key_inetmgr_total_sites, L"SitelistOrderNum"),
    ROW(key_inetmgr_disabled_sites, L"DisabledSiteNum"),
    ROW(key_inetmgr_sl_order, L"SitelistOrder"),
    ROW(key_inetmgr_sl_disabled_site, L"DisabledSites"),
    ROW(key_advanced_FindNearestMethod, L"uiFindNearestMethod"),
    ROW(key_advanced_overwrite_client_sites, L"OverwriteClientSites"),
    ROW(props_section_general, L"General"),
    ROW(props_key_installed_path, L"szInstallDir"),
    ROW(props_key_product_version, L"szProductVer"),
    ROW(props_key_hotfix_version, L"Hotfix"),
    ROW(props_key_show_ui, L"ShowAgentUI"),
    ROW(props_key_show_reboot_ui, L"ShowRebootUI"),
    ROW(props_key_reboot_timeout, L"RebootTimeOut"),
    ROW(props_key_plugin_version, L"PluginVersion"),
    ROW(props_key_language, L"Language"),
    ROW(props_key_agent_guid, L"AgentGUID"),
    ROW(props_key_asci, L"CheckNetworkMessageInterval"),
    ROW(props_key_refresh_interval, L"PropsRefreshInterval"),
    ROW(props_loggedon_user, L"UserName"),
};

const std::vector<Row<std::string>> kNarrow = {
    ROW(TaskNameKey, "DisplayName"),
    ROW(PlatformsKey, "Platforms"),
    ROW(TaskGuidKey, "TaskID"),
    ROW(SoftwareIdKey, "SoftwareID"),
    ROW(PriorityKey, "Priority"),
    ROW(VersionKey, "TaskVersion"),
    ROW(TaskTypeKey, "TaskType"),
    ROW(CreatorSoftwareKey, "CreatorID"),
    ROW(PendingKey, "TaskPending"),
    ROW(TaskSection, "Task"),
    ROW(TaskGroupSection, "TaskGroup"),
    ROW(GeneralSection, "General"),
    ROW(TaskRoot, "TaskRoot"),
    ROW(SettingsSection, "Settings"),
    ROW(EnabledKey, "Enabled"),
    ROW(StopAfterMinutesKey, "StopAfterMinutes"),
    ROW(DeleteWhenFinishedKey, "DeleteWhenFinished"),
    ROW(Schedule_Section, "Schedule"),
    ROW(StartDateTime_Key, "StartDateTime"),
    ROW(StopDateTime_Key, "StopDateTime"),
    ROW(StopTimeSpecified_Key, "StopDateValid"),
    ROW(ScheduleType_Key, "Type"),
    ROW(IdleMinutes_Key, "IdleMinutes"),
    ROW(RunIfMissed_Key, "RunIfMissed"),
    ROW(RunIfMissedDelay_Key, "RunIfMissedDelayMins"),
    ROW(AtStartupDelayMinutes_Key, "AtStartupDelayMinutes"),
    ROW(RandomizationEnabled_Key, "RandomizationEnabled"),
    ROW(RandomizationInterval_Key, "RandomizationWndMins"),
    ROW(TaskRepeatable_Key, "TaskRepeatable"),
    ROW(RepeatOption_Key, "RepeatOption"),
    ROW(RepeatInterval_Key, "RepeatInterval"),
    ROW(UntilOption_Key, "UntilOption"),
    ROW(UntilDuration_Key, "UntilDuration"),
    ROW(UntilTime_Key, "UntilTime"),
    ROW(GMT_Key, "GMTTime"),
    ROW(TaskFinished_Key, "TaskFinished"),
    ROW(RepeatDays_Key, "RepeatDays"),
    ROW(DaysOfWeek_Key, "MaskDaysOfWeek"),
    ROW(RepeatWeeks_Key, "RepeatWeeks"),
    ROW(MonthOption_Key, "MonthOption"),
    ROW(DayNumOfMonth_Key, "DayNumOfMonth"),
    ROW(WeekNumOfMonth_Key, "WeekNumOfMonth"),
    ROW(DayOfWeek_Key, "DayOfWeek"),
    ROW(MaskMonthsOfYear_Key, "MaskMonthsOfYear"),
    ROW(DependenciesSection, "Task Dependencies"),
    ROW(Dependency_I_Key, "Dependency"),
    ROW(NumDependencies_Key, "NumberOfDependencies"),
    ROW(EnableRunTaskOnceADay_Key, "EnableRunTaskOnceADay"),
};

template <class String> void expectValues(const std::vector<Row<String>> &rows) {
    for (const auto &row : rows) {
        EXPECT_EQ(*row.constant, row.value) << row.name;
        EXPECT_EQ(row.atStart, row.value) << row.name << " when the program's static initialisers ran";
    }
}

TEST(ConfigurationNames, EveryConstant_HasItsWidthAndValue) {
    EXPECT_EQ(kWide.size(), 88u);
    EXPECT_EQ(kNarrow.size(), 48u);
    expectValues(kWide);
    expectValues(kNarrow);
}

TEST(ConfigurationNames, SharedTexts_AreEqual_Kept) {
    EXPECT_EQ(key_relay_service_enabled, key_ls_bEnableRelayService);
    EXPECT_EQ(key_network_asci_interval, props_key_asci);
    EXPECT_EQ(section_general, props_section_general);
    EXPECT_EQ(section_general, std::wstring(GeneralSection.begin(), GeneralSection.end()));
}

TEST(ConfigurationNames, NamesThatDifferFromTheirTexts_HoldTheTextsOfTheStores_Kept) {
    const struct {
        const std::string &constant;
        const char *text;
    } rows[] = {
        {StopTimeSpecified_Key, "StopDateValid"},
        {RandomizationInterval_Key, "RandomizationWndMins"},
        {DaysOfWeek_Key, "MaskDaysOfWeek"},
        {GMT_Key, "GMTTime"},
        {TaskNameKey, "DisplayName"},
        {VersionKey, "TaskVersion"},
        {CreatorSoftwareKey, "CreatorID"},
        {PendingKey, "TaskPending"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(row.constant, row.text);
    EXPECT_EQ(key_sl_protocol, L"uiSiteType");
    EXPECT_EQ(key_count_relay_failure_connections, L"FAILED_TO_CONN_SERVER");
}

TEST(ConfigurationNames, DependenciesSection_HoldsABlank_Kept) {
    EXPECT_NE(DependenciesSection, "TaskDependencies");
}

} // namespace
