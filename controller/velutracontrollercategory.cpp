#include "velutracontrollercategory.h"

// Debug output off unless asked for (--verbose, QT_LOGGING_RULES).
Q_LOGGING_CATEGORY(lcController, "velutra.controller", QtInfoMsg)
