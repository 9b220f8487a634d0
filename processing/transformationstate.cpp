#include "processing/transformationstate.h"

#include "orna/ipl/imagetransformer.h"

using orna::ipl::BayerPattern;
using orna::ipl::ImageTransformer;

namespace {

// One map per state, applied to each point.
template <class F> std::vector<TransformationPoint> MapPoints(const std::vector<TransformationPoint>& points, F f)
{
    std::vector<TransformationPoint> out;
    out.reserve(points.size());
    for (const auto& p : points)
        out.push_back(f(p.first, p.second));
    return out;
}

} // namespace

TransformationState::TransformationState(IplTransformationFeatureProvider* provider_, bool mirrorX_, bool mirrorY_,
                                         int64_t rotation_)
    : provider(provider_), mirrorX(mirrorX_), mirrorY(mirrorY_), rotation(rotation_)
{
}

TransformationState::~TransformationState() = default;

BayerPattern TransformationState::TransformBayerPattern(BayerPattern pattern) const
{
    return pattern;
}

TransformationRect TransformationState::TransformRect(const TransformationRect& rect, const TransformationSize&) const
{
    return rect;
}

TransformationRect TransformationState::InverseTransformRect(const TransformationRect& rect,
                                                             const TransformationSize&) const
{
    return rect;
}

std::vector<TransformationPoint> TransformationState::TransformPoints(const std::vector<TransformationPoint>& points,
                                                                      const TransformationSize&) const
{
    return points;
}

// --- None

TransformationStateNone::TransformationStateNone(IplTransformationFeatureProvider* p)
    : TransformationState(p, false, false, 0)
{
}

// --- MirrorX

TransformationStateMirrorX::TransformationStateMirrorX(IplTransformationFeatureProvider* p)
    : TransformationState(p, true, false, 0)
{
}

BayerPattern TransformationStateMirrorX::TransformBayerPattern(BayerPattern pattern) const
{
    return ImageTransformer::MirrorLeftRight(pattern);
}

TransformationRect TransformationStateMirrorX::TransformRect(const TransformationRect& r,
                                                             const TransformationSize& s) const
{
    return {s.first - (r.width + r.x), r.y, r.width, r.height};
}

TransformationRect TransformationStateMirrorX::InverseTransformRect(const TransformationRect& r,
                                                                    const TransformationSize& s) const
{
    return TransformRect(r, s);
}

std::vector<TransformationPoint> TransformationStateMirrorX::TransformPoints(const std::vector<TransformationPoint>& p,
                                                                             const TransformationSize& s) const
{
    return MapPoints(p, [&](int32_t x, int32_t y) { return TransformationPoint(s.first - x, y); });
}

// --- MirrorY

TransformationStateMirrorY::TransformationStateMirrorY(IplTransformationFeatureProvider* p)
    : TransformationState(p, false, true, 0)
{
}

BayerPattern TransformationStateMirrorY::TransformBayerPattern(BayerPattern pattern) const
{
    return ImageTransformer::MirrorUpDown(pattern);
}

TransformationRect TransformationStateMirrorY::TransformRect(const TransformationRect& r,
                                                             const TransformationSize& s) const
{
    return {r.x, s.second - (r.height + r.y), r.width, r.height};
}

TransformationRect TransformationStateMirrorY::InverseTransformRect(const TransformationRect& r,
                                                                    const TransformationSize& s) const
{
    return TransformRect(r, s);
}

std::vector<TransformationPoint> TransformationStateMirrorY::TransformPoints(const std::vector<TransformationPoint>& p,
                                                                             const TransformationSize& s) const
{
    return MapPoints(p, [&](int32_t x, int32_t y) { return TransformationPoint(x, s.second - y); });
}

// --- Rotation90 (left)

TransformationStateRotation90::TransformationStateRotation90(IplTransformationFeatureProvider* p)
    : TransformationState(p, false, false, 90)
{
}

BayerPattern TransformationStateRotation90::TransformBayerPattern(BayerPattern pattern) const
{
    return ImageTransformer::Rotate(pattern, 90);
}

TransformationRect TransformationStateRotation90::TransformRect(const TransformationRect& r,
                                                                const TransformationSize& s) const
{
    return {r.y, s.first - (r.width + r.x), r.height, r.width};
}

TransformationRect TransformationStateRotation90::InverseTransformRect(const TransformationRect& r,
                                                                       const TransformationSize& s) const
{
    return {s.first - (r.height + r.y), r.x, r.height, r.width};
}

std::vector<TransformationPoint>
TransformationStateRotation90::TransformPoints(const std::vector<TransformationPoint>& p,
                                               const TransformationSize& s) const
{
    return MapPoints(p, [&](int32_t x, int32_t y) { return TransformationPoint(y, s.first - x); });
}

// --- Rotation180 (both mirrors)

TransformationStateRotation180::TransformationStateRotation180(IplTransformationFeatureProvider* p)
    : TransformationState(p, true, true, 0)
{
}

BayerPattern TransformationStateRotation180::TransformBayerPattern(BayerPattern pattern) const
{
    return ImageTransformer::Rotate(pattern, 180);
}

TransformationRect TransformationStateRotation180::TransformRect(const TransformationRect& r,
                                                                 const TransformationSize& s) const
{
    return {s.first - (r.width + r.x), s.second - (r.height + r.y), r.width, r.height};
}

TransformationRect TransformationStateRotation180::InverseTransformRect(const TransformationRect& r,
                                                                        const TransformationSize& s) const
{
    return TransformRect(r, s);
}

std::vector<TransformationPoint>
TransformationStateRotation180::TransformPoints(const std::vector<TransformationPoint>& p,
                                                const TransformationSize& s) const
{
    return MapPoints(p, [&](int32_t x, int32_t y) { return TransformationPoint(s.first - x, s.second - y); });
}

// --- Rotation270 (right)

TransformationStateRotation270::TransformationStateRotation270(IplTransformationFeatureProvider* p)
    : TransformationState(p, false, false, 270)
{
}

BayerPattern TransformationStateRotation270::TransformBayerPattern(BayerPattern pattern) const
{
    return ImageTransformer::Rotate(pattern, 270);
}

TransformationRect TransformationStateRotation270::TransformRect(const TransformationRect& r,
                                                                 const TransformationSize& s) const
{
    return {s.second - (r.height + r.y), r.x, r.height, r.width};
}

TransformationRect TransformationStateRotation270::InverseTransformRect(const TransformationRect& r,
                                                                        const TransformationSize& s) const
{
    return {r.y, s.second - (r.width + r.x), r.height, r.width};
}

std::vector<TransformationPoint>
TransformationStateRotation270::TransformPoints(const std::vector<TransformationPoint>& p,
                                                const TransformationSize& s) const
{
    return MapPoints(p, [&](int32_t x, int32_t y) { return TransformationPoint(s.second - y, x); });
}

// --- MirrorY, then Rotation90

TransformationStateMirrorYRotation90::TransformationStateMirrorYRotation90(IplTransformationFeatureProvider* p)
    : TransformationState(p, false, true, 90)
{
}

BayerPattern TransformationStateMirrorYRotation90::TransformBayerPattern(BayerPattern pattern) const
{
    return ImageTransformer::Rotate(ImageTransformer::MirrorUpDown(pattern), 90);
}

TransformationRect TransformationStateMirrorYRotation90::TransformRect(const TransformationRect& r,
                                                                       const TransformationSize& s) const
{
    return {s.second - (r.height + r.y), s.first - (r.width + r.x), r.height, r.width};
}

TransformationRect TransformationStateMirrorYRotation90::InverseTransformRect(const TransformationRect& r,
                                                                              const TransformationSize& s) const
{
    return {s.first - (r.height + r.y), s.second - (r.width + r.x), r.height, r.width};
}

std::vector<TransformationPoint>
TransformationStateMirrorYRotation90::TransformPoints(const std::vector<TransformationPoint>& p,
                                                      const TransformationSize& s) const
{
    return MapPoints(p, [&](int32_t x, int32_t y) { return TransformationPoint(s.second - y, s.first - x); });
}

// --- MirrorY, then Rotation270

TransformationStateMirrorYRotation270::TransformationStateMirrorYRotation270(IplTransformationFeatureProvider* p)
    : TransformationState(p, false, true, 270)
{
}

BayerPattern TransformationStateMirrorYRotation270::TransformBayerPattern(BayerPattern pattern) const
{
    return ImageTransformer::Rotate(ImageTransformer::MirrorUpDown(pattern), 270);
}

TransformationRect TransformationStateMirrorYRotation270::TransformRect(const TransformationRect& r,
                                                                        const TransformationSize&) const
{
    return {r.y, r.x, r.width, r.height};
}

TransformationRect TransformationStateMirrorYRotation270::InverseTransformRect(const TransformationRect& r,
                                                                               const TransformationSize&) const
{
    return {r.y, r.x, r.width, r.height};
}

std::vector<TransformationPoint>
TransformationStateMirrorYRotation270::TransformPoints(const std::vector<TransformationPoint>& p,
                                                       const TransformationSize&) const
{
    return MapPoints(p, [](int32_t x, int32_t y) { return TransformationPoint(y, x); });
}
