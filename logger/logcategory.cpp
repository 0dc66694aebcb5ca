#include "logcategory.h"

// Every category of the program starts with debug output off: an operator turns
// it on with --verbose or QT_LOGGING_RULES when a service engineer asks for it.
Q_LOGGING_CATEGORY(lcLog, "velutra.log", QtInfoMsg)
