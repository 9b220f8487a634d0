#include "features/roifeaturegroup.h"

#include <algorithm>

RoiFeatureGroup::RoiFeatureGroup(QObject* parent) : QObject(parent)
{
    for (AflAutoRoiValue* value : {&m_offsetX, &m_offsetY, &m_width, &m_height})
    {
        value->SetAvailableFunction([this] { return !m_follow.GetBoolValue(false); });
        connect(value, &IntegerFeatureInterface::IntValueChanged, this, [this] {
            if (m_applying)
                return;
            // A new size or offset changes what the other may be.
            ApplyRanges();
            Q_EMIT RoiChanged();
        });
    }
    connect(&m_follow, &BooleanFeatureInterface::BoolValueChanged, this, &RoiFeatureGroup::OnFollowChanged);
}

QRect RoiFeatureGroup::Region() const
{
    auto value = [](const AflAutoRoiValue& v) { return int(v.GetIntValueStored()); };
    return QRect(value(m_offsetX), value(m_offsetY), value(m_width), value(m_height));
}

void RoiFeatureGroup::SetImageSize(int64_t width, int64_t height)
{
    m_imageWidth = std::max<int64_t>(1, width);
    m_imageHeight = std::max<int64_t>(1, height);
    const QRect before = Region();
    ApplyRanges();
    if (Region() != before)
        Q_EMIT RoiChanged();
}

void RoiFeatureGroup::OnFollowChanged()
{
    const QRect before = Region();
    for (AflAutoRoiValue* value : {&m_offsetX, &m_offsetY, &m_width, &m_height})
        value->UpdateAccess();
    ApplyRanges();
    if (Region() != before)
        Q_EMIT RoiChanged();
}

void RoiFeatureGroup::ApplyRanges()
{
    m_applying = true;
    const bool follow = m_follow.GetBoolValue(false);
    // StoreValue, not SetIntValue: while following the values are unavailable, yet the group must move them.
    if (follow)
    {
        m_offsetX.StoreValue(0);
        m_offsetY.StoreValue(0);
        m_width.StoreValue(m_imageWidth);
        m_height.StoreValue(m_imageHeight);
    }
    const int64_t width = std::clamp<int64_t>(m_width.GetIntValueStored(), 1, m_imageWidth);
    const int64_t height = std::clamp<int64_t>(m_height.GetIntValueStored(), 1, m_imageHeight);
    m_width.StoreValue(width);
    m_height.StoreValue(height);
    m_offsetX.StoreValue(std::clamp<int64_t>(m_offsetX.GetIntValueStored(), 0, m_imageWidth - width));
    m_offsetY.StoreValue(std::clamp<int64_t>(m_offsetY.GetIntValueStored(), 0, m_imageHeight - height));
    m_width.SetRange(1, m_imageWidth - m_offsetX.GetIntValueStored(), 1);
    m_height.SetRange(1, m_imageHeight - m_offsetY.GetIntValueStored(), 1);
    m_offsetX.SetRange(0, m_imageWidth - width, 1);
    m_offsetY.SetRange(0, m_imageHeight - height, 1);
    m_applying = false;
}
