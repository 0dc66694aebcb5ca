#ifndef VELUTRASERIALCATEGORY_H
#define VELUTRASERIALCATEGORY_H

#include <QLoggingCategory>

// The serial handler: handshake states, port faults, what the link does.
Q_DECLARE_LOGGING_CATEGORY(lcSerial)

#endif // VELUTRASERIALCATEGORY_H
