#ifndef SERIALPORTLIST_H
#define SERIALPORTLIST_H

#include <QString>
#include <QStringList>

// The serial ports a laser can be reached on: the machine's own ports, and the
// virtual lasers that announce themselves in the per-user runtime folder.
//
// A virtual laser announces a port with one file "<anything>.port" in
// advertisedPortsFolder(), holding "key=value" lines:
//   path=<name to open>   description=<text>   pid=<process id of the announcer>
// and, for one that plays a USB adapter, optionally:
//   serial-number=<text>   vendor-id=<hex>   product-id=<hex>
// An announcement whose process is gone or whose path no longer exists is ignored.
class SerialportList
{
public:
    struct PortEntry
    {
        QString name;
        QString description;
        bool isVirtual = false;
        // What a USB adapter tells about itself; it stays the same when the adapter comes
        // back under another device name.
        QString serialNumber;
        bool hasUsbIdentifiers = false;
        quint16 vendorIdentifier = 0;
        quint16 productIdentifier = 0;
    };

    static QStringList GetPipeNames();
    static QString GetExtendedPipeName(const QString &name);

    static QList<PortEntry> ports();
    // The listed entry of that name; an entry with only the name set when it is not listed.
    static PortEntry entryFor(const QString &name);
    static QString advertisedPortsFolder();

    // Lets a test see only announced ports, whatever hardware the machine has.
    static void setIncludeSystemPorts(bool include);
    static bool includeSystemPorts();

private:
    SerialportList() = delete;
};

#endif // SERIALPORTLIST_H
