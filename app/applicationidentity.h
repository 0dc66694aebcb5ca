#ifndef APPLICATIONIDENTITY_H
#define APPLICATIONIDENTITY_H

#include <QString>

class QCoreApplication;

namespace ApplicationIdentity {

inline constexpr char OrganizationName[] = "Zelmar";
inline constexpr char OrganizationDomain[] = "zelmar.example";
inline constexpr char ApplicationName[] = "VELUTRA-XP";
inline constexpr char ApplicationVersion[] = "1.0.25.680";
inline constexpr char WebSite[] = "https://www.zelmar.example";
inline constexpr char ProductName[] = "Corvane VELUTRA XP laser control software";

// "Nov  3 2026" (as the compiler writes its date) -> "2026-11-03"; empty when unreadable.
QString buildDateFromCompilerText(const char *compilerDate);
// "14:05:09" -> "14:05:09"; empty when unreadable.
QString buildTimeFromCompilerText(const char *compilerTime);

// Names, domain and version of the program; static, so it works before an application object exists.
void applyNames();
// applyNames() plus the "BUILDDATE" and "BUILDTIME" properties on the application object.
void apply(QCoreApplication *application);

} // namespace ApplicationIdentity

#endif // APPLICATIONIDENTITY_H
