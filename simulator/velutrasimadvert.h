#ifndef VELUTRASIMADVERT_H
#define VELUTRASIMADVERT_H

#include <QString>

// Tells the program's port list that a virtual laser is plugged in: one small
// key=value file per port in the per-user runtime folder, written atomically and
// removed when the port goes away. Readers skip files of dead processes.
class VelutraSimAdvert
{
public:
    VelutraSimAdvert();
    ~VelutraSimAdvert();
    VelutraSimAdvert(const VelutraSimAdvert &) = delete;
    VelutraSimAdvert &operator=(const VelutraSimAdvert &) = delete;

    // <runtime>/velutra-xp, created when missing.
    static QString runtimeFolder();
    static QString portsFolder();

    bool publish(const QString &portPath, const QString &description, QString *error);
    void withdraw();
    QString filePath() const { return m_filePath; }
    bool isPublished() const { return m_published; }

private:
    QString m_filePath;
    bool m_published = false;
};

#endif // VELUTRASIMADVERT_H
