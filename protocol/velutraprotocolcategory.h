#ifndef VELUTRAPROTOCOLCATEGORY_H
#define VELUTRAPROTOCOLCATEGORY_H

#include <QLoggingCategory>

// The response decoder: every line it could not place, also those the operator log
// leaves out.
Q_DECLARE_LOGGING_CATEGORY(lcProtocol)

#endif // VELUTRAPROTOCOLCATEGORY_H
