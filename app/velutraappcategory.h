#ifndef VELUTRAAPPCATEGORY_H
#define VELUTRAAPPCATEGORY_H

#include <QLoggingCategory>

// The application shell: main window, dialogs, command line, log files.
Q_DECLARE_LOGGING_CATEGORY(lcApp)

#endif // VELUTRAAPPCATEGORY_H
