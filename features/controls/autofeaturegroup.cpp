#include "features/controls/autofeaturegroup.h"

#include <QHBoxLayout>
#include <QSignalBlocker>

namespace {

const QString kOff = QStringLiteral("Off");
const QString kOnce = QStringLiteral("Once");
const QString kContinuous = QStringLiteral("Continuous");

} // namespace

AutoFeatureGroup::AutoFeatureGroup(CustomRadio* off, CustomRadio* once, CustomRadio* continuous, QObject* parent)
    : QObject(parent), m_off(off), m_once(once), m_continuous(continuous)
{
    const QList<QPair<CustomRadio*, QString>> radios = {{off, kOff}, {once, kOnce}, {continuous, kContinuous}};
    for (const auto& radio : radios)
    {
        if (!radio.first)
            continue;
        radio.first->setCheckable(true);
        const QString entry = radio.second;
        connect(radio.first, &CustomRadio::Signal_Clicked, this, [this, entry] {
            if (m_feature)
                m_feature->SetStringValue(entry);
            // The read-back decides what is shown; a refused write puts the radios back.
            Show(m_feature ? m_feature->GetStringValue(false) : QString());
        });
    }
    SetFeature(nullptr);
}

AutoFeatureGroup::~AutoFeatureGroup()
{
    Detach();
}

void AutoFeatureGroup::Detach()
{
    for (const auto& connection : m_connections)
        disconnect(connection);
    m_connections.clear();
    m_feature = nullptr;
}

void AutoFeatureGroup::SetFeature(FeatureInterface* feature)
{
    Detach();
    m_feature = qobject_cast<EnumerationFeatureInterface*>(feature);
    if (m_feature)
    {
        m_connections << connect(m_feature, &EnumerationFeatureInterface::StringValueChanged, this,
                                 &AutoFeatureGroup::Show);
        m_connections << connect(m_feature, &EnumerationFeatureInterface::EntriesChanged, this,
                                 &AutoFeatureGroup::UpdateEnabled);
        m_connections << connect(m_feature, &FeatureInterface::WriteableChanged, this,
                                 &AutoFeatureGroup::UpdateEnabled);
        m_connections << connect(m_feature, &QObject::destroyed, this, [this] { SetFeature(nullptr); });
    }
    m_current.clear();
    UpdateEnabled();
    Show(m_feature ? m_feature->GetStringValue(false) : QString());
}

void AutoFeatureGroup::UpdateEnabled()
{
    const bool writeable = m_feature && m_feature->IsWriteable();
    const QStringList entries = m_feature ? m_feature->GetEntries(false) : QStringList();
    const QList<QPair<CustomRadio*, QString>> radios = {{m_off, kOff}, {m_once, kOnce}, {m_continuous, kContinuous}};
    for (const auto& radio : radios)
        if (radio.first)
            radio.first->setEnabled(writeable && entries.contains(radio.second));
}

void AutoFeatureGroup::Show(const QString& entry)
{
    const QList<QPair<CustomRadio*, QString>> radios = {{m_off, kOff}, {m_once, kOnce}, {m_continuous, kContinuous}};
    for (const auto& radio : radios)
        if (radio.first)
        {
            // Exclusivity would refuse to uncheck the last checked radio.
            radio.first->setAutoExclusive(false);
            radio.first->setChecked(radio.second == entry);
            radio.first->setAutoExclusive(true);
        }
    if (entry == m_current)
        return;
    m_current = entry;
    if (entry == kOff)
        Q_EMIT OffSelected();
    else if (entry == kOnce)
        Q_EMIT OnceSelected();
    else if (entry == kContinuous)
        Q_EMIT OnSelected();
}

AutoFeatureRadioWidget::AutoFeatureRadioWidget(QWidget* parent) : QWidget(parent)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_camera = new CustomRadio(tr("Camera"), this);
    m_host = new CustomRadio(tr("Host"), this);
    for (CustomRadio* radio : {m_camera, m_host})
    {
        radio->setCheckable(true);
        radio->setAutoExclusive(true);
        layout->addWidget(radio);
    }
    m_camera->setChecked(true);
    connect(m_camera, &CustomRadio::Signal_Clicked, this, &AutoFeatureRadioWidget::CameraSelected);
    connect(m_host, &CustomRadio::Signal_Clicked, this, &AutoFeatureRadioWidget::HostSelected);
}

bool AutoFeatureRadioWidget::IsCameraSelected() const
{
    return m_camera->isChecked();
}

void AutoFeatureRadioWidget::SelectCamera()
{
    m_camera->setChecked(true);
    Q_EMIT CameraSelected();
}

void AutoFeatureRadioWidget::SelectHost()
{
    m_host->setChecked(true);
    Q_EMIT HostSelected();
}
