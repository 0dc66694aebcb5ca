#include "velutraprotocolcategory.h"

// Debug output off unless asked for (--verbose, QT_LOGGING_RULES).
Q_LOGGING_CATEGORY(lcProtocol, "velutra.protocol", QtInfoMsg)
