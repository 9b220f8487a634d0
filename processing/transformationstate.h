// TransformationState: the eight results of mirrors and quarter turns, as a closed group of state objects.
// Each state knows its outgoing transitions (asked of the provider, which owns the eight objects), its
// persistent form (two mirror flags and a left-turning rotation), and how a Bayer order, a rectangle or
// points look after the transformation. A state with a mirror and a rotation means: first mirror up/down,
// then rotate. The rectangle and point maps take the size of the untransformed image.
//
// Threads: GUI thread (the provider's events and the geometry questions of panels and overlays).
#pragma once

#include "orna/ipl/pixelformat.h"

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

class IplTransformationFeatureProvider;

struct TransformationRect
{
    int64_t x = 0;
    int64_t y = 0;
    int64_t width = 0;
    int64_t height = 0;
    bool operator==(const TransformationRect& o) const
    {
        return x == o.x && y == o.y && width == o.width && height == o.height;
    }
    bool operator!=(const TransformationRect& o) const { return !(*this == o); }
};
using TransformationPoint = std::pair<int32_t, int32_t>;
// W, H of the untransformed image.
using TransformationSize = std::pair<int32_t, int32_t>;

class TransformationState
{
public:
    using Transition = std::function<TransformationState*()>;

    TransformationState(IplTransformationFeatureProvider* provider, bool mirrorX, bool mirrorY, int64_t rotation);
    virtual ~TransformationState();

    virtual orna::ipl::BayerPattern TransformBayerPattern(orna::ipl::BayerPattern pattern) const;
    virtual TransformationRect TransformRect(const TransformationRect& rect, const TransformationSize& size) const;
    virtual TransformationRect InverseTransformRect(const TransformationRect& rect,
                                                    const TransformationSize& size) const;
    virtual std::vector<TransformationPoint> TransformPoints(const std::vector<TransformationPoint>& points,
                                                             const TransformationSize& size) const;

    Transition onMirrorHorizontal;
    Transition onMirrorVertical;
    Transition onRotateLeft;
    Transition onRotateRight;

    IplTransformationFeatureProvider* const provider; // not owned
    const bool mirrorX;
    const bool mirrorY;
    const int64_t rotation; // 0, 90 or 270 degrees, turning left
};

class TransformationStateNone : public TransformationState
{
public:
    explicit TransformationStateNone(IplTransformationFeatureProvider* provider);
};

class TransformationStateMirrorX : public TransformationState
{
public:
    explicit TransformationStateMirrorX(IplTransformationFeatureProvider* provider);
    orna::ipl::BayerPattern TransformBayerPattern(orna::ipl::BayerPattern pattern) const override;
    TransformationRect TransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    TransformationRect InverseTransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    std::vector<TransformationPoint> TransformPoints(const std::vector<TransformationPoint>& p,
                                                     const TransformationSize& s) const override;
};

class TransformationStateMirrorY : public TransformationState
{
public:
    explicit TransformationStateMirrorY(IplTransformationFeatureProvider* provider);
    orna::ipl::BayerPattern TransformBayerPattern(orna::ipl::BayerPattern pattern) const override;
    TransformationRect TransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    TransformationRect InverseTransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    std::vector<TransformationPoint> TransformPoints(const std::vector<TransformationPoint>& p,
                                                     const TransformationSize& s) const override;
};

class TransformationStateRotation90 : public TransformationState
{
public:
    explicit TransformationStateRotation90(IplTransformationFeatureProvider* provider);
    orna::ipl::BayerPattern TransformBayerPattern(orna::ipl::BayerPattern pattern) const override;
    TransformationRect TransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    TransformationRect InverseTransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    std::vector<TransformationPoint> TransformPoints(const std::vector<TransformationPoint>& p,
                                                     const TransformationSize& s) const override;
};

class TransformationStateRotation180 : public TransformationState
{
public:
    explicit TransformationStateRotation180(IplTransformationFeatureProvider* provider);
    orna::ipl::BayerPattern TransformBayerPattern(orna::ipl::BayerPattern pattern) const override;
    TransformationRect TransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    TransformationRect InverseTransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    std::vector<TransformationPoint> TransformPoints(const std::vector<TransformationPoint>& p,
                                                     const TransformationSize& s) const override;
};

class TransformationStateRotation270 : public TransformationState
{
public:
    explicit TransformationStateRotation270(IplTransformationFeatureProvider* provider);
    orna::ipl::BayerPattern TransformBayerPattern(orna::ipl::BayerPattern pattern) const override;
    TransformationRect TransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    TransformationRect InverseTransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    std::vector<TransformationPoint> TransformPoints(const std::vector<TransformationPoint>& p,
                                                     const TransformationSize& s) const override;
};

class TransformationStateMirrorYRotation90 : public TransformationState
{
public:
    explicit TransformationStateMirrorYRotation90(IplTransformationFeatureProvider* provider);
    orna::ipl::BayerPattern TransformBayerPattern(orna::ipl::BayerPattern pattern) const override;
    TransformationRect TransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    TransformationRect InverseTransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    std::vector<TransformationPoint> TransformPoints(const std::vector<TransformationPoint>& p,
                                                     const TransformationSize& s) const override;
};

// Its rectangle map keeps width and height in their places while x and y change over; callers rely on it.
class TransformationStateMirrorYRotation270 : public TransformationState
{
public:
    explicit TransformationStateMirrorYRotation270(IplTransformationFeatureProvider* provider);
    orna::ipl::BayerPattern TransformBayerPattern(orna::ipl::BayerPattern pattern) const override;
    TransformationRect TransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    TransformationRect InverseTransformRect(const TransformationRect& r, const TransformationSize& s) const override;
    std::vector<TransformationPoint> TransformPoints(const std::vector<TransformationPoint>& p,
                                                     const TransformationSize& s) const override;
};
