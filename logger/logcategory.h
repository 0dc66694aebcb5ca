#ifndef LOGCATEGORY_H
#define LOGCATEGORY_H

#include <QLoggingCategory>

// The logging machinery's own notes (files trimmed, pruned, not writable).
Q_DECLARE_LOGGING_CATEGORY(lcLog)

#endif // LOGCATEGORY_H
