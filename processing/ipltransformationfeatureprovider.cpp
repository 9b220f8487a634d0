#include "processing/ipltransformationfeatureprovider.h"

#include "camera/visioncamera.h"
#include "common/logmessagesender.h"
#include "orna/ipl/image.h"
#include "orna/ipl/imagetransformer.h"

using orna::ipl::BayerPattern;
using orna::ipl::PixelFormat;

// --- Features

IplEnable::IplEnable(const QString& name, bool initial, QObject* parent) : BooleanSoftwareFeature(name, initial, parent)
{
}

void IplEnable::SetBoolValue(bool newValue)
{
    StoreValue(newValue);
}

IplRotationFeature::IplRotationFeature(const QString& name, QObject* parent)
    : IntegerSoftwareFeature(name, 0, 270, 90, 0, parent)
{
}

void IplRotationFeature::SetIntValue(const int64_t& newValue)
{
    // A workspace or script may carry any number; only the quarter-turn grid means a rotation.
    if (!IsAvailable() || newValue < minimum || newValue > maximum || newValue % increment != 0)
        return;
    StoreValue(newValue);
}

// --- Provider

IplTransformationFeatureProvider::IplTransformationFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent), transformer(std::make_unique<orna::ipl::ImageTransformer>()),
      mirrorXFeature(new IplEnable(QStringLiteral("MirrorX"), false, this)),
      mirrorYFeature(new IplEnable(QStringLiteral("MirrorY"), false, this)),
      rotationFeature(new IplRotationFeature(QStringLiteral("Rotation"), this))
{
    states[None] = std::make_unique<TransformationStateNone>(this);
    states[MirrorX] = std::make_unique<TransformationStateMirrorX>(this);
    states[MirrorY] = std::make_unique<TransformationStateMirrorY>(this);
    states[Rotation90] = std::make_unique<TransformationStateRotation90>(this);
    states[Rotation180] = std::make_unique<TransformationStateRotation180>(this);
    states[Rotation270] = std::make_unique<TransformationStateRotation270>(this);
    states[MirrorYRotation90] = std::make_unique<TransformationStateMirrorYRotation90>(this);
    states[MirrorYRotation270] = std::make_unique<TransformationStateMirrorYRotation270>(this);

    // The transition table: for each state, mirror left/right, mirror up/down, rotate left, rotate right.
    const StateId table[StateCount][4] = {
        /* None */ {MirrorX, MirrorY, Rotation90, Rotation270},
        /* MirrorX */ {None, Rotation180, MirrorYRotation270, MirrorYRotation90},
        /* MirrorY */ {Rotation180, None, MirrorYRotation90, MirrorYRotation270},
        /* Rotation90 */ {MirrorYRotation90, MirrorYRotation270, Rotation180, None},
        /* Rotation180 */ {MirrorY, MirrorX, Rotation270, Rotation90},
        /* Rotation270 */ {MirrorYRotation270, MirrorYRotation90, None, Rotation180},
        /* MirrorYRotation90 */ {Rotation90, Rotation270, MirrorX, MirrorY},
        /* MirrorYRotation270 */ {Rotation270, Rotation90, MirrorY, MirrorX},
    };
    for (int s = 0; s < StateCount; ++s)
    {
        TransformationState* state = states[size_t(s)].get();
        const auto to = [this](StateId target) { return [this, target] { return GetState(target); }; };
        state->onMirrorHorizontal = to(table[s][0]);
        state->onMirrorVertical = to(table[s][1]);
        state->onRotateLeft = to(table[s][2]);
        state->onRotateRight = to(table[s][3]);
    }
    currentState = GetState(None);

    const auto isAvailable = [this] { return available.load(); };
    mirrorXFeature->SetAvailableFunction(isAvailable);
    mirrorYFeature->SetAvailableFunction(isAvailable);
    rotationFeature->SetAvailableFunction(isAvailable);
    connect(mirrorXFeature, &FeatureInterface::ValueChanged, this,
            &IplTransformationFeatureProvider::UpdateTransformationStatus);
    connect(mirrorYFeature, &FeatureInterface::ValueChanged, this,
            &IplTransformationFeatureProvider::UpdateTransformationStatus);
    connect(rotationFeature, &FeatureInterface::ValueChanged, this,
            &IplTransformationFeatureProvider::UpdateTransformationStatus);
    // The camera rebuilds its destination tables on Changed: the Bayer entries follow the state.
    connect(this, &IplTransformationFeatureProvider::TransformationChanged, this, &FeatureProviderBase::Changed);
}

IplTransformationFeatureProvider::~IplTransformationFeatureProvider() = default;

void IplTransformationFeatureProvider::OnMirrorHorizontal()
{
    SetState(currentState->onMirrorHorizontal());
}

void IplTransformationFeatureProvider::OnMirrorVertical()
{
    SetState(currentState->onMirrorVertical());
}

void IplTransformationFeatureProvider::OnRotateLeft()
{
    SetState(currentState->onRotateLeft());
}

void IplTransformationFeatureProvider::OnRotateRight()
{
    SetState(currentState->onRotateRight());
}

void IplTransformationFeatureProvider::Reset()
{
    SetState(GetState(None));
}

void IplTransformationFeatureProvider::Publish(bool mirrorX, bool mirrorY, int64_t rotation)
{
    mirrorXValue = mirrorX;
    mirrorYValue = mirrorY;
    rotationValue = int(rotation);
    mirrorActive = mirrorX || mirrorY;
    rotationActive = rotation != 0;
    const bool nowTransposed = rotation == 90 || rotation == 270;
    if (nowTransposed != transposed.load())
    {
        transposed = nowTransposed;
        emit TransposedChanged(nowTransposed);
    }
    emit TransformationChanged();
}

void IplTransformationFeatureProvider::SetState(TransformationState* state)
{
    if (!state)
        return;
    // Each write may run UpdateTransformationStatus on the way; its last run agrees with this state.
    mirrorXFeature->SetBoolValue(state->mirrorX);
    mirrorYFeature->SetBoolValue(state->mirrorY);
    rotationFeature->StoreValue(state->rotation);
    currentState = state;
    Publish(state->mirrorX, state->mirrorY, state->rotation);
}

void IplTransformationFeatureProvider::UpdateTransformationStatus()
{
    // The stored values: while unavailable the flags keep theirs and apply again when a format returns.
    const bool x = mirrorXFeature->GetStoredValue();
    const bool y = mirrorYFeature->GetStoredValue();
    const int64_t rotation = rotationFeature->GetIntValueStored();
    StateId id = StateCount;
    if (x && y)
        id = Rotation180;
    else if (x)
        id = MirrorX;
    else if (y)
        id = rotation == 0 ? MirrorY : rotation == 90 ? MirrorYRotation90 : rotation == 270 ? MirrorYRotation270 : id;
    else
        // A stored 180 without mirrors is no state of its own; the worker still turns by the stored value.
        id = rotation == 0 || rotation == 180 ? None : rotation == 90 ? Rotation90 : rotation == 270 ? Rotation270 : id;
    if (id != StateCount)
        currentState = GetState(id);
    Publish(x, y, rotation);
}

void IplTransformationFeatureProvider::SetSourcePixelFormat(uint32_t format)
{
    FeatureProviderBase::SetPixelFormat(format);
    bool ok = format != 0 && format != orna::ipl::YUV420_8_YY_UV_SemiplanarKVX && PixelFormat::IsKnown(format) &&
              !PixelFormat::IsPacked(format);
    available = ok;
    mirrorXFeature->UpdateAccess();
    mirrorYFeature->UpdateAccess();
    rotationFeature->UpdateAccess();
    emit AvailableChanged(ok);
}

namespace {
QString ProviderOrigin(VisionCamera* camera)
{
    return camera ? camera->GetKeyText() : QStringLiteral("-");
}
} // namespace

void IplTransformationFeatureProvider::ProcessMirrorInplace(orna::ipl::Image& image)
{
    try
    {
        const bool x = mirrorXValue.load();
        const bool y = mirrorYValue.load();
        if (x && y)
            transformer->MirrorUpDownLeftRightInPlace(image);
        else if (x)
            transformer->MirrorLeftRightInPlace(image);
        else if (y)
            transformer->MirrorUpDownInPlace(image);
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(
            ProviderOrigin(GetCamera()),
            QStringLiteral("void IplTransformationFeatureProvider::ProcessMirrorInplace(orna::ipl::Image &)"),
            QStringLiteral("IPL image transformation failed to mirror image. ") + QString::fromUtf8(e.what()));
    }
}

void IplTransformationFeatureProvider::ProcessRotationInplace(orna::ipl::Image& image)
{
    try
    {
        transformer->RotateInPlace(image, uint16_t(rotationValue.load()));
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(
            ProviderOrigin(GetCamera()),
            QStringLiteral("void IplTransformationFeatureProvider::ProcessRotationInplace(orna::ipl::Image &)"),
            QStringLiteral("IPL image transformation failed to rotate image. ") + QString::fromUtf8(e.what()));
    }
}

void IplTransformationFeatureProvider::Process(std::shared_ptr<orna::ipl::Image>& image)
{
    if (!image || image->IsEmpty())
        return;
    if (IsMirrorActive())
        ProcessMirrorInplace(*image);
    if (IsRotationActive())
        ProcessRotationInplace(*image);
}

uint32_t IplTransformationFeatureProvider::MapBayerPixelFormat(uint32_t format, BayerPattern sourcePattern) const
{
    if (!PixelFormat::IsKnown(format) || !PixelFormat::IsBayered(format))
        return format;
    const BayerPattern pattern =
        sourcePattern != BayerPattern::None ? sourcePattern : PixelFormat::GetBayerPattern(format);
    const BayerPattern mapped = currentState->TransformBayerPattern(pattern);
    // Same depth and packing: look the format up among all formats of that kind.
    const int bits = PixelFormat::GetNumSignificantBitsPerChannel(format);
    const auto packing = PixelFormat::GetPacking(format);
    for (uint32_t candidate : PixelFormat::AllFormats())
        if (PixelFormat::IsBayered(candidate) && PixelFormat::GetBayerPattern(candidate) == mapped &&
            PixelFormat::GetNumSignificantBitsPerChannel(candidate) == bits &&
            PixelFormat::GetPacking(candidate) == packing)
            return candidate;
    return format;
}

TransformationRect IplTransformationFeatureProvider::TransformRect(const TransformationRect& rect,
                                                                   const TransformationSize& size) const
{
    return currentState->TransformRect(rect, size);
}

TransformationRect IplTransformationFeatureProvider::InverseTransformRect(const TransformationRect& rect,
                                                                          const TransformationSize& size) const
{
    return currentState->InverseTransformRect(rect, size);
}

std::vector<TransformationPoint>
IplTransformationFeatureProvider::TransformPoints(const std::vector<TransformationPoint>& points,
                                                  const TransformationSize& size) const
{
    return currentState->TransformPoints(points, size);
}
