#include "velutraserialcategory.h"

// Debug output off unless asked for (--verbose, QT_LOGGING_RULES).
Q_LOGGING_CATEGORY(lcSerial, "velutra.serial", QtInfoMsg)
