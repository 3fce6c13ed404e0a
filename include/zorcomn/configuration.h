/** @file
 * Names of the agent's configuration sections and keys. C++.
 *
 * @include subsystems/configuration.cpp
 */
#pragma once
#include "api.h"

#include <string>

/* Names of the agent's configuration sections and keys, so that every component spells them alike. The store that holds
 * them, its format and its default values belong to the agent.
 *
 * Every constant is plain ASCII and compared exactly, letter case included. Several differ from their names, and some
 * texts are held by two constants; stores hold the texts. They get their values when the library is loaded, before the
 * static initialisers of a program that links it, and lose them when it is unloaded. They are not const, but read-only
 * all the same: the library never assigns, and callers must not.
 * Threads: safe to read.  Owns: the library. */

namespace velmora_com {
namespace vta {

/** Sections of the agent configuration. Wide. */
///@{
ZORCOMN_API extern std::wstring section_general;
ZORCOMN_API extern std::wstring section_network;
ZORCOMN_API extern std::wstring section_listenserver;
ZORCOMN_API extern std::wstring section_events;
ZORCOMN_API extern std::wstring section_logging;
ZORCOMN_API extern std::wstring section_sitelist;
ZORCOMN_API extern std::wstring section_proxy;
ZORCOMN_API extern std::wstring section_version_control;
ZORCOMN_API extern std::wstring section_inetmanager;
ZORCOMN_API extern std::wstring section_advanced;
///@}

/** Section "General": when and how policies are enforced; which section key_EnforcePolicy is read from, the agent
 * decides. Wide. */
///@{
ZORCOMN_API extern std::wstring key_EnforcePolicy;
ZORCOMN_API extern std::wstring key_general_bCollectFullProps;
ZORCOMN_API extern std::wstring key_general_PolicyEnforcementInterval;
ZORCOMN_API extern std::wstring key_general_force_install;
///@}

/** Section "Network": the agent's calls to its server. The keys without "network" in their name are declared here, and
 * the agent decides which section it reads them from. Wide. */
///@{
ZORCOMN_API extern std::wstring key_network_bAgentASCI;
ZORCOMN_API extern std::wstring key_network_asci_interval;
ZORCOMN_API extern std::wstring key_network_asci_do_when;
ZORCOMN_API extern std::wstring key_relay_service_enabled;
ZORCOMN_API extern std::wstring key_p2p_service_enabled;
ZORCOMN_API extern std::wstring key_agent_serviceport;
ZORCOMN_API extern std::wstring key_count_relay_failure_connections;
ZORCOMN_API extern std::wstring key_count_relay_max_connections_exceeded;
///@}

/** Section "AgentListenServer": what the agent listens to. key_ls_bEnableRelayService and key_relay_service_enabled
 * hold the same text. Wide. */
///@{
ZORCOMN_API extern std::wstring key_ls_bEnableAgentPing;
ZORCOMN_API extern std::wstring key_ls_bEnableRelayService;
ZORCOMN_API extern std::wstring key_ls_AgentPingPort;
ZORCOMN_API extern std::wstring key_ls_bListenToTZXServerOnly;
///@}

/** Section "AgentEvents": when collected events are sent. Wide. */
///@{
ZORCOMN_API extern std::wstring key_events_EnableEventTrigger;
ZORCOMN_API extern std::wstring key_events_EventTriggerThreshold;
ZORCOMN_API extern std::wstring key_events_EventTriggerDelayMins;
ZORCOMN_API extern std::wstring key_events_MaxEventsPerTrigger;
///@}

/** Section "AgentLogging". Wide. */
///@{
ZORCOMN_API extern std::wstring key_log_bEnableLog;
ZORCOMN_API extern std::wstring key_log_bLimitLogSize;
ZORCOMN_API extern std::wstring key_log_nLogSizeLimit;
ZORCOMN_API extern std::wstring key_log_bVerbose;
ZORCOMN_API extern std::wstring key_log_bEnableRemoteLog;
///@}

/** Section "SiteList": the sites that the agent fetches from, one set of keys for each. key_sl_password names where a
 * password is stored; none is held here. Wide. */
///@{
ZORCOMN_API extern std::wstring key_sl_NumberOfSites;
ZORCOMN_API extern std::wstring key_sl_protocol;
ZORCOMN_API extern std::wstring key_sl_enabled;
ZORCOMN_API extern std::wstring key_sl_site_id;
ZORCOMN_API extern std::wstring key_sl_site_name;
ZORCOMN_API extern std::wstring key_sl_sites_server;
ZORCOMN_API extern std::wstring key_sl_server_name;
ZORCOMN_API extern std::wstring key_sl_server_ip;
ZORCOMN_API extern std::wstring key_sl_share_name;
ZORCOMN_API extern std::wstring key_sl_relative_path;
ZORCOMN_API extern std::wstring key_sl_site_port;
ZORCOMN_API extern std::wstring key_sl_type;
ZORCOMN_API extern std::wstring key_sl_use_auth;
ZORCOMN_API extern std::wstring key_sl_user_name;
ZORCOMN_API extern std::wstring key_sl_password;
ZORCOMN_API extern std::wstring key_sl_password_encrypted;
ZORCOMN_API extern std::wstring key_sl_domain;
ZORCOMN_API extern std::wstring key_sl_order;
ZORCOMN_API extern std::wstring key_sl_local;
///@}

/** Section "ProxySettings". The password keys name where a password is stored; none is held here. Wide. */
///@{
ZORCOMN_API extern std::wstring key_proxy_type;
ZORCOMN_API extern std::wstring key_proxy_http_server;
ZORCOMN_API extern std::wstring key_proxy_http_port;
ZORCOMN_API extern std::wstring key_proxy_http_use_auth;
ZORCOMN_API extern std::wstring key_proxy_http_user;
ZORCOMN_API extern std::wstring key_proxy_http_password;
ZORCOMN_API extern std::wstring key_proxy_ftp_server;
ZORCOMN_API extern std::wstring key_proxy_ftp_port;
ZORCOMN_API extern std::wstring key_proxy_ftp_use_auth;
ZORCOMN_API extern std::wstring key_proxy_ftp_user;
ZORCOMN_API extern std::wstring key_proxy_ftp_password;
ZORCOMN_API extern std::wstring key_proxy_num_exceptions;
ZORCOMN_API extern std::wstring key_proxy_exception;
ZORCOMN_API extern std::wstring key_proxy_bypass_local;
///@}

/** Section "VersionControl". Wide. */
ZORCOMN_API extern std::wstring key_vc_version;

/** Section "InetManager": the order of sites, and the disabled ones. Wide. */
///@{
ZORCOMN_API extern std::wstring key_inetmgr_total_sites;
ZORCOMN_API extern std::wstring key_inetmgr_disabled_sites;
ZORCOMN_API extern std::wstring key_inetmgr_sl_order;
ZORCOMN_API extern std::wstring key_inetmgr_sl_disabled_site;
///@}

/** Section "Advanced". Wide. */
///@{
ZORCOMN_API extern std::wstring key_advanced_FindNearestMethod;
ZORCOMN_API extern std::wstring key_advanced_overwrite_client_sites;
///@}

/** Agent properties, as the agent reports them about itself. Wide. */
///@{
ZORCOMN_API extern std::wstring props_section_general;
ZORCOMN_API extern std::wstring props_key_installed_path;
ZORCOMN_API extern std::wstring props_key_product_version;
ZORCOMN_API extern std::wstring props_key_hotfix_version;
ZORCOMN_API extern std::wstring props_key_show_ui;
ZORCOMN_API extern std::wstring props_key_show_reboot_ui;
ZORCOMN_API extern std::wstring props_key_reboot_timeout;
ZORCOMN_API extern std::wstring props_key_plugin_version;
ZORCOMN_API extern std::wstring props_key_language;
ZORCOMN_API extern std::wstring props_key_agent_guid;
ZORCOMN_API extern std::wstring props_key_asci;
ZORCOMN_API extern std::wstring props_key_refresh_interval;
ZORCOMN_API extern std::wstring props_loggedon_user;
///@}

/** Task definitions: sections and keys. Narrow. */
///@{
ZORCOMN_API extern std::string TaskNameKey;
ZORCOMN_API extern std::string PlatformsKey;
ZORCOMN_API extern std::string TaskGuidKey;
ZORCOMN_API extern std::string SoftwareIdKey;
ZORCOMN_API extern std::string PriorityKey;
ZORCOMN_API extern std::string VersionKey;
ZORCOMN_API extern std::string TaskTypeKey;
ZORCOMN_API extern std::string CreatorSoftwareKey;
ZORCOMN_API extern std::string PendingKey;
ZORCOMN_API extern std::string TaskSection;
ZORCOMN_API extern std::string TaskGroupSection;
ZORCOMN_API extern std::string GeneralSection;
ZORCOMN_API extern std::string TaskRoot;
ZORCOMN_API extern std::string SettingsSection;
ZORCOMN_API extern std::string EnabledKey;
ZORCOMN_API extern std::string StopAfterMinutesKey;
ZORCOMN_API extern std::string DeleteWhenFinishedKey;
///@}

/** Schedules of tasks: the section and its keys. Narrow. */
///@{
ZORCOMN_API extern std::string Schedule_Section;
ZORCOMN_API extern std::string StartDateTime_Key;
ZORCOMN_API extern std::string StopDateTime_Key;
ZORCOMN_API extern std::string StopTimeSpecified_Key;
ZORCOMN_API extern std::string ScheduleType_Key;
ZORCOMN_API extern std::string IdleMinutes_Key;
ZORCOMN_API extern std::string RunIfMissed_Key;
ZORCOMN_API extern std::string RunIfMissedDelay_Key;
ZORCOMN_API extern std::string AtStartupDelayMinutes_Key;
ZORCOMN_API extern std::string RandomizationEnabled_Key;
ZORCOMN_API extern std::string RandomizationInterval_Key;
ZORCOMN_API extern std::string TaskRepeatable_Key;
ZORCOMN_API extern std::string RepeatOption_Key;
ZORCOMN_API extern std::string RepeatInterval_Key;
ZORCOMN_API extern std::string UntilOption_Key;
ZORCOMN_API extern std::string UntilDuration_Key;
ZORCOMN_API extern std::string UntilTime_Key;
ZORCOMN_API extern std::string GMT_Key;
ZORCOMN_API extern std::string TaskFinished_Key;
ZORCOMN_API extern std::string RepeatDays_Key;
ZORCOMN_API extern std::string DaysOfWeek_Key;
ZORCOMN_API extern std::string RepeatWeeks_Key;
ZORCOMN_API extern std::string MonthOption_Key;
ZORCOMN_API extern std::string DayNumOfMonth_Key;
ZORCOMN_API extern std::string WeekNumOfMonth_Key;
ZORCOMN_API extern std::string DayOfWeek_Key;
ZORCOMN_API extern std::string MaskMonthsOfYear_Key;
///@}

/** Dependencies between tasks ("Task Dependencies", with a blank), and what else a task keeps. Narrow. */
///@{
ZORCOMN_API extern std::string DependenciesSection;
ZORCOMN_API extern std::string Dependency_I_Key;
ZORCOMN_API extern std::string NumDependencies_Key;
ZORCOMN_API extern std::string EnableRunTaskOnceADay_Key;
///@}

} // namespace vta
} // namespace velmora_com
