// Names and extensions of files that the library knows.
#pragma once

extern char const* const cRESERVED_FILE_EXTENSION_SITE_DEFINITION;
extern char const* const cRESERVED_FILE_EXTENSION_ADVICE_POOL;
extern char const* const cRESERVED_FILE_EXTENSION_ADVICE_FILE;
extern char const* const cRESERVED_EXTENSION;
extern char const* const cRESERVED_EXTENSION_LONG;
extern char const* const cRESERVED_FILE_EXTENSION_TEXT;
extern char const* const cRESERVED_FILE_EXTENSION_SITE_LOG_FILE;
extern char const* const cRESERVED_FILE_EXTENSION_SITE_BACKUP_LOG_FILE;
extern char const* const cRESERVED_FILE_EXTENSION_DLL;
extern char const* const cRESERVED_FILE_EXTENSION_NOTATION;
// These three have no extension.
extern char const* const cRESERVED_FILE_EXTENSION_SITE_DATA;
extern char const* const cRESERVED_FILE_EXTENSION_PREFERENCES;
extern char const* const cRESERVED_FILE_EXTENSION_PROFILE;

extern char const* const cRESERVED_FILENAME_UIAPP;
