// The router's fixed files, named once. Each is the router's own absolute path; off the
// router HostPath::system puts the root prefix in front of it.
#ifndef TAVIO_PLATFORM_ROUTER_PATHS_H
#define TAVIO_PLATFORM_ROUTER_PATHS_H

namespace tavio {

/// tavio's run directory: per-panel settings and this run's temporary files.
constexpr char kRunDirectory[] = "/var/run/dorva/tavio";

/// Per-panel files, "%s" the panel serial.
constexpr char kPanelAccessFormat[] = "/var/run/dorva/tavio/panel_access_%s.status";
constexpr char kThemeSettingsFormat[] = "/var/run/dorva/tavio/mmi_theme_settings_%s.json";
constexpr char kFontSettingsFormat[] = "/var/run/dorva/tavio/mmi_font_settings_%s.json";

/// Temporary files of the local API calls, "%d" the process id: the run's header file, a
/// call's body and its reply.
constexpr char kApiHeaderFormat[] = "/var/run/dorva/tavio/wget_ext_hdr_%d.txt";
constexpr char kApiInputFormat[] = "/var/run/dorva/tavio/wget_input_%d.txt";
constexpr char kApiResultFormat[] = "/var/run/dorva/tavio/wget_result_%d.json";

/// The running configuration (port media, Wi-Fi, panel passcode) and the one a port media
/// change is written to before it is activated.
constexpr char kConfigRun[] = "/usr/local/velto/conf/config.run";
constexpr char kConfigActive[] = "/usr/local/velto/conf/config.active";

/// High availability: whether it is on, its method, this router's role and virtual address.
constexpr char kHaStatusFile[] = "/var/run/dorva/ha_status";
/// The local web API's port ("LOCAL_HTTP_PORT").
constexpr char kApiPortFile[] = "/etc/localhost_http_port";
/// Each port's top speed, "PORT:SPEED" a line.
constexpr char kInterfaceSpeedFile[] = "/etc/corvane_interface_speed";
/// The font size a panel gets when it names none.
constexpr char kTargetFontSizeFile[] = "/etc/ac/mmi_target_font_size";
/// The administrator-password reset tool.
constexpr char kRecoverPasswordTool[] = "/usr/local/dorva/bin/recover_password";
/// Off the router only: the host port table (physical type per port).
constexpr char kHostPortsFile[] = "/etc/tavio-host/ports";

}  // namespace tavio

#endif
