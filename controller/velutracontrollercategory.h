#ifndef VELUTRACONTROLLERCATEGORY_H
#define VELUTRACONTROLLERCATEGORY_H

#include <QLoggingCategory>

// The controller: wiring, values it could not use.
Q_DECLARE_LOGGING_CATEGORY(lcController)

#endif // VELUTRACONTROLLERCATEGORY_H
