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

    // What a USB adapter would tell about itself, written with every later publish();
    // an empty serial number or a negative id is left out.
    void setUsbIdentity(const QString &serialNumber, int vendorId, int productId);

    bool publish(const QString &portPath, const QString &description, QString *error);
    void withdraw();
    QString filePath() const { return m_filePath; }
    bool isPublished() const { return m_published; }

private:
    QString m_filePath;
    QString m_serialNumber;
    int m_vendorId = -1;
    int m_productId = -1;
    bool m_published = false;
};

#endif // VELUTRASIMADVERT_H
