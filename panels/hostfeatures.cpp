#include "panels/hostfeatures.h"

#include "camera/pixelformattable.h"
#include "camera/visioncamera.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "controlelement/customlayout.h"
#include "orna/ipl/pixelformat.h"
#include "processing/iplbinningfeatureprovider.h"
#include "processing/ipldecimationfeatureprovider.h"
#include "processing/ipltransformationfeatureprovider.h"
#include "widgets/customcombobox.h"
#include "widgets/iconbutton.h"
#include "widgets/infodialog.h"

#include <QDateTime>
#include <QLabel>
#include <QPixmap>

namespace {

// The destination items in their order; the wide ones only with show_all_pixel_formats.
struct DestinationItem
{
    uint32_t format;
    bool wide;
};
const DestinationItem kDestinations[] = {
    {orna::ipl::BayerRG8, false},  {orna::ipl::BayerGR8, false},  {orna::ipl::BayerGB8, false},
    {orna::ipl::BayerBG8, false},  {orna::ipl::BayerRG10, false}, {orna::ipl::BayerGR10, false},
    {orna::ipl::BayerGB10, false}, {orna::ipl::BayerBG10, false}, {orna::ipl::BayerRG12, false},
    {orna::ipl::BayerGR12, false}, {orna::ipl::BayerGB12, false}, {orna::ipl::BayerBG12, false},
    {orna::ipl::Mono8, false},     {orna::ipl::Mono10, false},    {orna::ipl::Mono12, false},
    {orna::ipl::RGB8, false},      {orna::ipl::BGR8, true},       {orna::ipl::RGBa8, true},
    {orna::ipl::BGRa8, false},     {orna::ipl::RGB10, false},     {orna::ipl::BGR10, true},
    {orna::ipl::RGBa10, true},     {orna::ipl::BGRa10, true},     {orna::ipl::RGB10p32, false},
    {orna::ipl::RGB12, false},     {orna::ipl::BGR12, true},      {orna::ipl::RGBa12, true},
    {orna::ipl::BGRa12, true},
};

QString Name(uint32_t format)
{
    return QString::fromStdString(orna::ipl::PixelFormat::ToName(format));
}

void SetItemEnabled(CustomComboBox* combo, int index, bool enabled)
{
    const QModelIndex modelIndex = combo->model()->index(index, 0);
    // Qt's item flags: a disabled item is shown grey and cannot be chosen.
    combo->model()->setData(modelIndex, enabled ? QVariant() : QVariant(0), Qt::UserRole - 1);
}

} // namespace

HostFeatures::HostFeatures(QWidget* parent) : ControlElement(parent, true)
{
    SetTitle(tr("Host features"));

    auto label = [this](const QString& text) {
        auto* l = new QLabel(text, m_contentWidget);
        return l;
    };
    auto warning = [this] {
        auto* w = new QLabel(m_contentWidget);
        w->setPixmap(QPixmap(ApplicationGlobals::Icon24(QStringLiteral("error.png"))).scaled(30, 30));
        w->setFixedSize(30, 30);
        w->hide();
        return w;
    };

    comboConversionMode = new CustomComboBox(m_contentWidget);
    comboConversionMode->addItem(tr("Fast"), 1);
    comboConversionMode->addItem(tr("HQ"), 2);
    comboConversionMode->addItem(tr("Classic"), 3);
    warningConversionMode = warning();
    m_layout->AddWidget(0, label(tr("Conversion mode")), 0, -1);
    m_layout->AddWidget(0, comboConversionMode, 160, -1);
    m_layout->AddWidget(0, warningConversionMode, 30, 30);

    comboPixelFormatSource = new CustomComboBox(m_contentWidget);
    m_layout->AddWidget(1, label(tr("Source pixel format")), 0, -1);
    m_layout->AddWidget(1, comboPixelFormatSource, 160, -1);

    comboPixelFormatDestination = new CustomComboBox(m_contentWidget);
    for (const DestinationItem& item : kDestinations)
        if (!item.wide || ApplicationGlobals::showAllPixelFormats)
            comboPixelFormatDestination->addItem(Name(item.format), uint(item.format));
    warningDestination = warning();
    m_layout->AddWidget(2, label(tr("Destination pixel format")), 0, -1);
    m_layout->AddWidget(2, comboPixelFormatDestination, 160, -1);
    m_layout->AddWidget(2, warningDestination, 30, 30);

    const char* icons[] = {"flip-horizontal.png", "flip-vertical.png", "rotate-left.png", "rotate-right.png",
                           "reset.png"};
    const QString tips[] = {tr("Mirror left/right"), tr("Mirror up/down"), tr("Rotate left"), tr("Rotate right"),
                            tr("Reset all transformations")};
    m_layout->AddWidget(3, label(tr("Image transformations")), 0, -1);
    for (int i = 0; i < 5; ++i)
    {
        transformationButtons[i] = new IconButton(QString::fromLatin1(icons[i]), m_contentWidget);
        transformationButtons[i]->setToolTip(tips[i]);
        m_layout->AddWidget(3, transformationButtons[i], 24, 24);
    }
    labelTransformationStatus = new QLabel(m_contentWidget);
    m_layout->AddWidget(4, labelTransformationStatus, 0, -1);

    ConnectControls();
}

HostFeatures::~HostFeatures() = default;

void HostFeatures::ConnectControls()
{
    connect(comboConversionMode, QOverload<int>::of(&QComboBox::activated), this, &HostFeatures::OnComboConversionMode,
            Qt::UniqueConnection);
    connect(comboPixelFormatSource, QOverload<int>::of(&QComboBox::activated), this,
            &HostFeatures::OnComboPixelFormatSource, Qt::UniqueConnection);
    connect(comboPixelFormatDestination, QOverload<int>::of(&QComboBox::activated), this,
            &HostFeatures::OnComboPixelFormatDestination, Qt::UniqueConnection);
    connect(transformationButtons[0], &QAbstractButton::clicked, this, &HostFeatures::OnMirrorHorizontal,
            Qt::UniqueConnection);
    connect(transformationButtons[1], &QAbstractButton::clicked, this, &HostFeatures::OnMirrorVertical,
            Qt::UniqueConnection);
    connect(transformationButtons[2], &QAbstractButton::clicked, this, &HostFeatures::OnRotateLeft,
            Qt::UniqueConnection);
    connect(transformationButtons[3], &QAbstractButton::clicked, this, &HostFeatures::OnRotateRight,
            Qt::UniqueConnection);
    connect(transformationButtons[4], &QAbstractButton::clicked, this, &HostFeatures::OnResetTransformation,
            Qt::UniqueConnection);
}

void HostFeatures::DisconnectControls()
{
    for (QObject* sender :
         std::initializer_list<QObject*>{comboConversionMode, comboPixelFormatSource, comboPixelFormatDestination})
        disconnect(sender, nullptr, this, nullptr);
    for (IconButton* button : transformationButtons)
        disconnect(button, nullptr, this, nullptr);
}

void HostFeatures::OnCameraChanged()
{
    UpdateControls();
}

void HostFeatures::FollowCamera(VisionCamera* camera)
{
    if (camera == followedCamera && (camera == nullptr || !cameraConnections.empty()))
        return;
    for (const QMetaObject::Connection& connection : cameraConnections)
        disconnect(connection);
    cameraConnections.clear();
    followedCamera = camera;
    if (camera == nullptr)
        return;
    // Queued: the destination may change on the open thread, and a handler here changes it in mid-work.
    IplTransformationFeatureProvider* transformation = camera->GetIplTransformationFeatureProvider();
    cameraConnections.push_back(connect(camera, &VisionCamera::Signal_PixelFormatDestinationChanged, this,
                                        &HostFeatures::UpdateControls, Qt::QueuedConnection));
    cameraConnections.push_back(connect(transformation, &IplTransformationFeatureProvider::AvailableChanged, this,
                                        &HostFeatures::UpdateControls, Qt::QueuedConnection));
    cameraConnections.push_back(connect(transformation, &IplTransformationFeatureProvider::TransformationChanged, this,
                                        &HostFeatures::UpdateControls, Qt::QueuedConnection));
}

QString HostFeatures::ClassicMessage()
{
    return tr("The conversion mode \"Classic\" only supports the camera pixel formats BayerRG8 and BayerGR8.");
}

QString HostFeatures::PackedSourceRefusal(bool packed, int binningHorizontal, int binningVertical,
                                          int decimationHorizontal, int decimationVertical)
{
    if (!packed)
        return QString();
    if (binningHorizontal >= 2 || binningVertical >= 2)
        return tr("Packed source pixel formats are not supported with host binning.");
    if (decimationHorizontal >= 2 || decimationVertical >= 2)
        return tr("Packed source pixel formats are not supported with host decimation.");
    return QString();
}

void HostFeatures::Inform(const QString& text)
{
    messages << text;
    auto* dialog = new InfoDialog(this, tr("Host features"), text);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

bool HostFeatures::StopIfAcquiring()
{
    VisionCamera* camera = Camera();
    if (camera == nullptr || !camera->IsAcquiring())
        return false;
    camera->StopAcquisition();
    return true;
}

void HostFeatures::RestartIf(bool wasAcquiring)
{
    if (wasAcquiring && Camera() != nullptr)
        Camera()->StartAcquisition();
}

void HostFeatures::UpdateControls()
{
    DisconnectControls();
    VisionCamera* camera = Camera();
    // Here rather than in OnCameraChanged: not every way a panel gets its camera passes there.
    FollowCamera(camera);
    setEnabled(camera != nullptr);
    if (camera == nullptr)
    {
        ConnectControls();
        return;
    }
    // 1. Source formats of the camera, the current one selected.
    const std::string sourceName = camera->GetPixelFormatSourceName();
    std::vector<std::string> names;
    comboPixelFormatSource->clear();
    if (camera->GetSupportedPixelFormatSourceStrings(names))
        for (const std::string& name : names)
            comboPixelFormatSource->addItem(QString::fromStdString(name));
    comboPixelFormatSource->setCurrentIndex(comboPixelFormatSource->findText(QString::fromStdString(sourceName)));

    // 2. Destination items by the tables.
    const uint32_t destination = camera->GetPixelFormatDestination();
    for (int i = 0; i < comboPixelFormatDestination->count(); ++i)
        SetItemEnabled(comboPixelFormatDestination, i,
                       camera->IsConversionSupported(sourceName, comboPixelFormatDestination->itemData(i).toUInt()));
    comboPixelFormatDestination->setCurrentIndex(comboPixelFormatDestination->findData(uint(destination)));
    warningConversionMode->hide();
    warningDestination->hide();

    // 3. A destination the tables refuse: say why, and what will happen.
    if (!camera->IsConversionSupported(sourceName, destination))
    {
        const uint32_t fallback = camera->GetDefaultDestination(sourceName);
        const QString source = QString::fromStdString(sourceName);
        if (fallback != 0)
        {
            warningDestination->setToolTip(
                tr("The conversion from the camera pixel format %1 to the destination pixel format %2 is not "
                   "supported.\nThe appropriate destination pixel format %3 will be set when the acquisition starts.")
                    .arg(source, Name(destination), Name(fallback)));
            warningDestination->show();
        }
        else if (camera->GetConversionMode() == 3)
        {
            warningConversionMode->setToolTip(ClassicMessage());
            warningConversionMode->show();
        }
        else
        {
            warningDestination->setToolTip(
                tr("The conversion from the camera pixel format %1 to the destination pixel format %2 is not "
                   "supported.")
                    .arg(source, Name(destination)));
            warningDestination->show();
        }
    }

    // 4.
    comboConversionMode->setCurrentIndex(comboConversionMode->findData(camera->GetConversionMode()));

    // 5. Transformation status.
    IplTransformationFeatureProvider* transformation = camera->GetIplTransformationFeatureProvider();
    EnableTransformationButtons(transformation->IsAvailable(),
                                tr("Mirror and rotation are not supported for the current source pixel format."));
    QStringList active;
    if (transformation->IsMirrorActive() && transformation->IsMirrorHorizontal())
        active << tr("mirror horizontal");
    if (transformation->IsMirrorActive() && transformation->IsMirrorVertical())
        active << tr("mirror vertical");
    if (transformation->IsRotationActive())
        active << tr("rotation") + QStringLiteral(" ") + QString::number(transformation->GetRotation()) +
                      QStringLiteral("°");
    labelTransformationStatus->setText(
        tr("Active") + QStringLiteral(": ") +
        (active.isEmpty() ? tr("No transformation active") : active.join(QStringLiteral(", "))));
    ConnectControls();
}

void HostFeatures::EnableTransformationButtons(bool available, const QString& unavailableTooltip)
{
    const QString tips[] = {tr("Mirror left/right"), tr("Mirror up/down"), tr("Rotate left"), tr("Rotate right"),
                            tr("Reset all transformations")};
    for (int i = 0; i < 4; ++i)
    {
        transformationButtons[i]->setEnabled(available);
        transformationButtons[i]->setToolTip(available ? tips[i] : unavailableTooltip);
    }
}

void HostFeatures::OnComboConversionMode()
{
    VisionCamera* camera = Camera();
    if (camera == nullptr)
        return;
    int mode = comboConversionMode->currentData().toInt();
    const std::string source = camera->GetPixelFormatSourceName();
    if (mode == 3 && source != "BayerRG8" && source != "BayerGR8")
    {
        Inform(ClassicMessage());
        mode = 1;
    }
    camera->SetConversionMode(mode);
    UpdateControls();
}

void HostFeatures::OnComboPixelFormatSource()
{
    VisionCamera* camera = Camera();
    if (camera == nullptr)
        return;
    const std::string name = comboPixelFormatSource->currentText().toStdString();
    // 1-2. Host binning and decimation cannot take a packed source: the combo goes back to the camera's format.
    IplBinningFeatureProvider* binning = camera->GetIplBinningFeatureProvider();
    IplDecimationFeatureProvider* decimation = camera->GetIplDecimationFeatureProvider();
    const QString refusal = PackedSourceRefusal(VisionCamera::IsPackedPixelFormat(name), binning->GetFactorHorizontal(),
                                                binning->GetFactorVertical(), decimation->GetFactorHorizontal(),
                                                decimation->GetFactorVertical());
    if (!refusal.isEmpty())
    {
        UpdateControls();
        Inform(refusal);
        return;
    }
    // 3.
    const bool wasAcquiring = StopIfAcquiring();
    // 4.
    if (name != "BayerRG8" && name != "BayerGR8" && camera->GetConversionMode() == 3)
    {
        camera->SetConversionMode(1);
        Inform(ClassicMessage());
    }
    // 5.
    const uint32_t chosen = comboPixelFormatDestination->currentData().toUInt();
    if (!camera->IsConversionSupported(name, chosen))
    {
        const uint32_t fallback = camera->GetDefaultDestination(name);
        if (fallback != 0)
            camera->SetPixelFormatDestination(fallback);
    }
    // 6.
    camera->SetPixelFormatSourceOverString(name);
    // 8. (UpdateControls does 7 with the "are" wording; this handler's own wording comes after it.)
    UpdateControls();
    EnableTransformationButtons(camera->GetIplTransformationFeatureProvider()->IsAvailable(),
                                tr("Mirror and rotation is not supported for the current source pixel format."));
    RestartIf(wasAcquiring);
}

void HostFeatures::OnComboPixelFormatDestination()
{
    VisionCamera* camera = Camera();
    if (camera == nullptr)
        return;
    const bool wasAcquiring = StopIfAcquiring();
    camera->SetPixelFormatDestination(comboPixelFormatDestination->currentData().toUInt());
    UpdateControls();
    RestartIf(wasAcquiring);
}

void HostFeatures::RunTransformationEvent(void (*event)(IplTransformationFeatureProvider*), const QString& refused)
{
    VisionCamera* camera = Camera();
    if (camera == nullptr)
        return;
    IplTransformationFeatureProvider* transformation = camera->GetIplTransformationFeatureProvider();
    if (!refused.isEmpty() && !transformation->IsAvailable())
    {
        LogMessageSender::Error(camera->GetKeyText(), QStringLiteral("void HostFeatures::RunTransformationEvent()"),
                                QDateTime::currentDateTime().toString(QStringLiteral("hh:mm:ss.zzz ")) + refused);
        return;
    }
    const bool wasAcquiring = StopIfAcquiring();
    event(transformation);
    UpdateControls();
    RestartIf(wasAcquiring);
}

void HostFeatures::OnMirrorHorizontal()
{
    RunTransformationEvent([](IplTransformationFeatureProvider* t) { t->OnMirrorHorizontal(); },
                           tr("Mirror horizontal is not allowed for the current pixel format"));
}

void HostFeatures::OnMirrorVertical()
{
    RunTransformationEvent([](IplTransformationFeatureProvider* t) { t->OnMirrorVertical(); },
                           tr("Mirror vertical is not allowed for the current pixel format"));
}

void HostFeatures::OnRotateLeft()
{
    RunTransformationEvent([](IplTransformationFeatureProvider* t) { t->OnRotateLeft(); },
                           tr("Rotate left is not allowed for the current pixel format"));
}

void HostFeatures::OnRotateRight()
{
    RunTransformationEvent([](IplTransformationFeatureProvider* t) { t->OnRotateRight(); },
                           tr("Rotate right is not allowed for the current pixel format"));
}

void HostFeatures::OnResetTransformation()
{
    RunTransformationEvent([](IplTransformationFeatureProvider* t) { t->Reset(); }, QString());
}
