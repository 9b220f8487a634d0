// The region of interest of the auto functions as software features: offset and size, each an
// AflAutoRoiValue, and whether the region follows the whole image (AflAutoRoiFollow).
//
// While following, the four values are unavailable to controls (access 1) and stand on the whole image as
// told by SetImageSize; otherwise they are writeable within the image. Any change of the region is told
// once by RoiChanged. The provider (the auto-function loop) reads Region() for its next frame.
//
// GUI thread only.
#pragma once

#include "features/softwarefeature.h"

#include <QRect>

class AflAutoRoiValue : public IntegerSoftwareFeature
{
    Q_OBJECT

public:
    AflAutoRoiValue(const QString& name, int64_t value, QObject* parent = nullptr)
        : IntegerSoftwareFeature(name, 0, value, 1, value, parent)
    {
    }

    // SetRange, SetMin, SetMax and SetInc are the slots of IntegerSoftwareFeature.
public Q_SLOTS:
    void SetIntValue(const int64_t& value) override { IntegerSoftwareFeature::SetIntValue(value); }
};

class AflAutoRoiFollow : public BooleanSoftwareFeature
{
    Q_OBJECT

public:
    explicit AflAutoRoiFollow(bool value, QObject* parent = nullptr)
        : BooleanSoftwareFeature(QStringLiteral("AutoRoiFollow"), value, parent)
    {
    }

public Q_SLOTS:
    void SetBoolValue(bool value) override { BooleanSoftwareFeature::SetBoolValue(value); }
};

class RoiFeatureGroup : public QObject
{
    Q_OBJECT

public:
    explicit RoiFeatureGroup(QObject* parent = nullptr);

    AflAutoRoiValue* OffsetX() { return &m_offsetX; }
    AflAutoRoiValue* OffsetY() { return &m_offsetY; }
    AflAutoRoiValue* Width() { return &m_width; }
    AflAutoRoiValue* Height() { return &m_height; }
    AflAutoRoiFollow* Follow() { return &m_follow; }

    // The image the region lies in; sets the ranges, and the region itself while following. A region that
    // no longer fits is pulled inside (size first, then offset).
    void SetImageSize(int64_t width, int64_t height);
    QRect Region() const;

Q_SIGNALS:
    void RoiChanged();

private:
    void ApplyRanges();
    void OnFollowChanged();

    AflAutoRoiValue m_offsetX{QStringLiteral("AutoRoiOffsetX"), 0};
    AflAutoRoiValue m_offsetY{QStringLiteral("AutoRoiOffsetY"), 0};
    AflAutoRoiValue m_width{QStringLiteral("AutoRoiWidth"), 1};
    AflAutoRoiValue m_height{QStringLiteral("AutoRoiHeight"), 1};
    AflAutoRoiFollow m_follow{true};
    int64_t m_imageWidth = 1;
    int64_t m_imageHeight = 1;
    bool m_applying = false;
};
