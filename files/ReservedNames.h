// The file names and extensions that have a meaning for the agent.
//
// An extension includes its dot. Three file types have the empty extension.
#pragma once

inline constexpr char const* cRESERVED_FILE_EXTENSION_SITE_DEFINITION = ".qvm";
inline constexpr char const* cRESERVED_FILE_EXTENSION_ADVICE_POOL = ".qvg";
inline constexpr char const* cRESERVED_FILE_EXTENSION_ADVICE_FILE = ".qvf";
inline constexpr char const* cRESERVED_EXTENSION = ".htm";
inline constexpr char const* cRESERVED_EXTENSION_LONG = ".html";
inline constexpr char const* cRESERVED_FILE_EXTENSION_TEXT = ".txt";
inline constexpr char const* cRESERVED_FILE_EXTENSION_SITE_LOG_FILE = ".log";
inline constexpr char const* cRESERVED_FILE_EXTENSION_SITE_BACKUP_LOG_FILE = ".bkg";
inline constexpr char const* cRESERVED_FILE_EXTENSION_DLL = ".so";
inline constexpr char const* cRESERVED_FILE_EXTENSION_NOTATION = ".dat";
inline constexpr char const* cRESERVED_FILE_EXTENSION_SITE_DATA = "";
inline constexpr char const* cRESERVED_FILE_EXTENSION_PREFERENCES = "";
inline constexpr char const* cRESERVED_FILE_EXTENSION_PROFILE = "";

inline constexpr char const* cRESERVED_FILENAME_UIAPP = "XVeskaClientUI";
