#include "files/ReservedNames.h"

char const* const cRESERVED_FILE_EXTENSION_SITE_DEFINITION = ".qvm";
char const* const cRESERVED_FILE_EXTENSION_ADVICE_POOL = ".qvg";
char const* const cRESERVED_FILE_EXTENSION_ADVICE_FILE = ".qvf";
char const* const cRESERVED_EXTENSION = ".htm";
char const* const cRESERVED_EXTENSION_LONG = ".html";
char const* const cRESERVED_FILE_EXTENSION_TEXT = ".txt";
char const* const cRESERVED_FILE_EXTENSION_SITE_LOG_FILE = ".log";
char const* const cRESERVED_FILE_EXTENSION_SITE_BACKUP_LOG_FILE = ".bkg";
char const* const cRESERVED_FILE_EXTENSION_DLL = ".so";
char const* const cRESERVED_FILE_EXTENSION_NOTATION = ".dat";
char const* const cRESERVED_FILE_EXTENSION_SITE_DATA = "";
char const* const cRESERVED_FILE_EXTENSION_PREFERENCES = "";
char const* const cRESERVED_FILE_EXTENSION_PROFILE = "";

char const* const cRESERVED_FILENAME_UIAPP = "XVeskaClientUI";
