#include "aboutdialog.h"
#include "ui_aboutdialog.h"

#include "applicationidentity.h"
#include "velutraresources.h"

#include <QApplication>
#include <QFile>

namespace {

QString licenceHtml()
{
    QFile file(QStringLiteral(":/Application/EULA.html"));
    if (!file.open(QIODevice::ReadOnly)) {
        // Built into the program: only a broken build gets here.
        qFatal("Unable to access the EULA file");
    }
    QString text = QString::fromUtf8(file.readAll());
    text.replace(QStringLiteral("[COMPANYNAMESTR]"),
                 QString::fromLatin1(ApplicationIdentity::OrganizationName));
    text.replace(QStringLiteral("[PRODUCTNAME]"),
                 QString::fromLatin1(ApplicationIdentity::ProductName));
    return text;
}

} // namespace

AboutDialog::AboutDialog(QWidget *parent)
    : QDialog(parent)
    , m_ui(new Ui::AboutDialog)
{
    initVelutraResources();
    m_ui->setupUi(this);
    setWindowFlags(Qt::Tool | Qt::MSWindowsFixedSizeDialogHint);
    setWindowTitle(tr("About %1").arg(QCoreApplication::applicationName()));

    const QString buildDate = qApp->property("BUILDDATE").toString();
    const QString buildTime = qApp->property("BUILDTIME").toString();
    m_ui->labelVersion->setText(QString::fromLatin1(ApplicationIdentity::ProductName)
                                + QStringLiteral(" - Version ")
                                + QCoreApplication::applicationVersion());
    m_ui->labelBuild->setText(tr("Build - %1 at %2").arg(buildDate, buildTime));
    m_ui->labelCopyright->setText(
            tr("Copyright %1 - %2. All rights reserved.")
                    .arg(buildDate.left(4),
                         QString::fromLatin1(ApplicationIdentity::OrganizationName)));
    m_ui->textBrowserLicence->setHtml(licenceHtml());

    const QString site = QString::fromLatin1(ApplicationIdentity::WebSite);
    QString visible = site;
    visible.remove(QStringLiteral("https://"));
    m_ui->labelLink->setText(
            tr("<p>For updates visit <a href=\"%1\"><span style=\"text-decoration: underline; "
               "color:#0000ff;\">%2</span></a></p>")
                    .arg(site, visible));
    m_ui->labelLink->setTextFormat(Qt::RichText);
    m_ui->labelLink->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::LinksAccessibleByMouse
                                             | Qt::LinksAccessibleByKeyboard);
    m_ui->labelLink->setOpenExternalLinks(true);
    // The link keeps its blue; on the panel's dark background that blue is unreadable, so the
    // line sits on a light strip of its own.
    m_ui->labelLink->setObjectName(QStringLiteral("labelLink"));
    m_ui->labelLink->setStyleSheet(QStringLiteral(
            "QLabel#labelLink { background-color: #f2f4f5; color: #1d2125; border-radius: 4px; "
            "padding: 6px 10px; }"));
}

AboutDialog::~AboutDialog()
{
    delete m_ui;
}

void AboutDialog::on_buttonBox_accepted()
{
    accept();
}
