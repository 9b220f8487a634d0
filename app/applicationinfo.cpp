#include "app/applicationinfo.h"

#include "app/desklogic.h"
#include "common/applicationglobals.h"
#include "controlelement/customlayout.h"
#include "orna/core/library.h"
#include "orna/ifl/inference.h"
#include "widgets/custompushbutton.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>

namespace {
const char* const kMaker = "KVX Imaging";
const char* const kYears = "2024-2026";
} // namespace

ApplicationInfo::ApplicationInfo(QWidget* parent) : ControlElement(parent, false)
{
    logoLabel = new QLabel(this);
    logoLabel->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    infoLabel = new QLabel(this);
    infoLabel->setTextFormat(Qt::RichText);
    infoLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    infoLabel->setWordWrap(true);
    licenceLabel = new QLabel(this);
    licenceLabel->setTextFormat(Qt::RichText);
    licenceLabel->setWordWrap(true);
    buttonAboutQt = new CustomPushButton(QString(), this);

    const int g = ApplicationGlobals::gridSize;
    CustomLayout* rows = Layout();
    rows->setContentsMargins(10, 5, 10, 5);
    rows->AddWidget(0, logoLabel, 0, 60);
    rows->AddWidget(1, infoLabel, 0, 0);
    AddSeparator(2, 5, 5);
    rows->AddWidget(3, licenceLabel, 0, 0);
    rows->AddStretch(4);
    rows->AddWidget(4, buttonAboutQt, 6 * g, 30);

    SetDefaultSize(22 * g + 1, 21 * g + 1, 18 * g + 1, 16 * g + 1);
    SetResizable(true);
    UpdateStyleSheetWithoutDestroy();
    Refresh();
    ConnectControls();
}

// --- Texts

QString ApplicationInfo::ProgramVersion()
{
    return QStringLiteral(LUMIVUE_VERSION);
}

QString ApplicationInfo::QtVersion()
{
    return QString::fromLatin1(qVersion());
}

QString ApplicationInfo::AravisVersion()
{
    try
    {
        return QString::fromStdString(orna::Library::GetAravisVersion());
    }
    catch (const std::exception&)
    {
        return tr("unknown");
    }
}

QString ApplicationInfo::OpenCvVersion()
{
    return QString::fromLatin1(inference_opencv_version());
}

QString ApplicationInfo::InfoText()
{
    return QStringLiteral("<b>%1</b><br>").arg(desk::ProgramName().toHtmlEscaped()) +
           tr("Version %1").arg(ProgramVersion()) + QStringLiteral("<br>") +
           QStringLiteral("&copy; %1 %2").arg(QLatin1String(kYears), QLatin1String(kMaker)) +
           QStringLiteral("<br><br>") +
           tr("Built with Qt %1, running on Qt %2").arg(QStringLiteral(QT_VERSION_STR), QtVersion()) +
           QStringLiteral("<br>") + tr("Aravis %1").arg(AravisVersion()) + QStringLiteral("<br>") +
           tr("OpenCV %1").arg(OpenCvVersion());
}

QString ApplicationInfo::LicenceText()
{
    const QString row = QStringLiteral("%1: %2<br>");
    return tr("Licences of the parts shipped with this program:") + QStringLiteral("<br>") +
           row.arg(QStringLiteral("Qt"), QStringLiteral("LGPLv3")) +
           row.arg(QStringLiteral("Aravis"), QStringLiteral("LGPLv2+")) +
           row.arg(QStringLiteral("OpenCV"), QStringLiteral("Apache 2.0")) +
           row.arg(QStringLiteral("Roboto"), QStringLiteral("Apache 2.0")) +
           row.arg(tr("Material Design Icons"), QStringLiteral("SIL OFL 1.1 / Apache 2.0"));
}

// --- Element

void ApplicationInfo::ConnectControls()
{
    connect(buttonAboutQt, &QPushButton::clicked, this, &ApplicationInfo::OnButtonAboutQt, Qt::UniqueConnection);
}

void ApplicationInfo::DisconnectControls()
{
    disconnect(buttonAboutQt, nullptr, this, nullptr);
}

void ApplicationInfo::UpdateControls()
{
    Refresh();
}

void ApplicationInfo::UpdateTexts()
{
    SetTitle(tr("About %1").arg(desk::ProgramName()), true);
    buttonAboutQt->SetText(tr("About Qt"));
}

void ApplicationInfo::Refresh()
{
    UpdateTexts();
    infoLabel->setText(InfoText());
    licenceLabel->setText(LicenceText());
}

void ApplicationInfo::UpdateStyleSheetWithoutDestroy()
{
    ControlElement::UpdateStyleSheetWithoutDestroy();
    using G = ApplicationGlobals;
    const QPixmap logo(G::isLight ? QStringLiteral(":/resources/company_logo_light.png")
                                  : QStringLiteral(":/resources/company_logo_dark.png"));
    if (logo.isNull())
        logoLabel->setText(QStringLiteral("<b>KVX</b>"));
    else
        logoLabel->setPixmap(logo.scaledToHeight(56, Qt::SmoothTransformation));
    const QString style = QStringLiteral("QLabel { color: %1; background: transparent; }").arg(G::colorText.name());
    for (QLabel* label : {logoLabel, infoLabel, licenceLabel})
    {
        label->setFont(G::fontNormal);
        label->setStyleSheet(style);
    }
    licenceLabel->setFont(G::fontSmall);
}

void ApplicationInfo::OnButtonAboutQt()
{
    QMessageBox::aboutQt(this, tr("About Qt"));
}
