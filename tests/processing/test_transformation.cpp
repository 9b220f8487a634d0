// The transformation state machine against the pixels: every state's flags, transitions, Bayer mapping and
// rectangle maps are checked by what the transformer really does to an image, not by a copy of the tables.
#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/imagetransformer.h"
#include "orna/ipl/pixelformat.h"
#include "processing/ipltransformationfeatureprovider.h"

#include <QSignalSpy>
#include <QtTest>

#include <memory>
#include <random>
#include <vector>

using namespace orna::ipl;
using Provider = IplTransformationFeatureProvider;

namespace {

std::shared_ptr<Image> Numbered(uint32_t width, uint32_t height)
{
    auto image = std::make_shared<Image>(Image::Construct(Mono8, width, height));
    for (uint32_t i = 0; i < width * height; ++i)
        image->GetData()[i] = uint8_t(i + 1);
    return image;
}

std::vector<uint8_t> Pixels(const Image& image)
{
    return std::vector<uint8_t>(image.GetData(), image.GetData() + image.GetByteCount());
}

std::shared_ptr<Image> RedMosaic(BayerPattern pattern, uint32_t width, uint32_t height)
{
    auto image = std::make_shared<Image>(Image::Construct(PixelFormat::BayerFormat(pattern, 8), width, height));
    const int red = pattern == BayerPattern::RG   ? 0
                    : pattern == BayerPattern::GR ? 1
                    : pattern == BayerPattern::GB ? 2
                                                  : 3;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
            image->GetData()[y * width + x] = int(x % 2 + 2 * (y % 2)) == red ? 200 : 0;
    return image;
}

const char* const kStateNames[] = {"None",        "MirrorX",     "MirrorY",           "Rotation90",
                                   "Rotation180", "Rotation270", "MirrorYRotation90", "MirrorYRotation270"};

} // namespace

class TestTransformation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        provider = std::make_unique<Provider>(nullptr);
        provider->SetSourcePixelFormat(Mono8);
    }
    void cleanup() { provider.reset(); }

    // Four left turns pass 90, 180 (both mirrors, rotation 0), 270 and end with no transformation.
    void fourLeftTurnsComeBackToNone()
    {
        const Provider::StateId expectedStates[] = {Provider::Rotation90, Provider::Rotation180, Provider::Rotation270,
                                                    Provider::None};
        const int64_t expectedRotation[] = {90, 0, 270, 0};
        for (int i = 0; i < 4; ++i)
        {
            provider->OnRotateLeft();
            QCOMPARE(provider->GetCurrentState(), provider->GetState(expectedStates[i]));
            QCOMPARE(provider->GetRotationFeature()->GetIntValue(false), expectedRotation[i]);
        }
        QVERIFY(!provider->IsMirrorActive());
        QVERIFY(!provider->IsRotationActive());
    }

    // The edge cases where flags and state go different ways.
    void mirrorsAndTurnsSwapOrMergeTheirFlags()
    {
        provider->OnMirrorHorizontal();
        provider->OnMirrorVertical();
        QCOMPARE(provider->GetCurrentState(), provider->GetState(Provider::Rotation180));
        QVERIFY(provider->GetMirrorXFeature()->GetBoolValue(false));
        QVERIFY(provider->GetMirrorYFeature()->GetBoolValue(false));
        QCOMPARE(provider->GetRotationFeature()->GetIntValue(false), int64_t(0));

        provider->Reset();
        provider->OnMirrorHorizontal();
        provider->OnRotateLeft();
        QCOMPARE(provider->GetCurrentState(), provider->GetState(Provider::MirrorYRotation270));
        QVERIFY(!provider->GetMirrorXFeature()->GetBoolValue(false));
        QVERIFY(provider->GetMirrorYFeature()->GetBoolValue(false));
        QCOMPARE(provider->GetRotationFeature()->GetIntValue(false), int64_t(270));
    }

    // A stored 180 without mirrors: no state of its own, but the worker turns by it.
    void aStoredHalfTurnIsNoStateButStillTurns()
    {
        provider->GetRotationFeature()->SetIntValue(180);
        QCOMPARE(provider->GetCurrentState(), provider->GetState(Provider::None));
        QVERIFY(provider->IsRotationActive());
        QVERIFY(!provider->IsTransposed());
        auto image = Numbered(3, 2);
        provider->Process(image);
        QCOMPARE(Pixels(*image), (std::vector<uint8_t>{6, 5, 4, 3, 2, 1}));
    }

    // Off the quarter-turn grid (a workspace or a script) the value is refused by the range.
    void rotationOffTheGridIsRefused()
    {
        provider->GetRotationFeature()->SetIntValue(90);
        for (int64_t bad : {int64_t(45), int64_t(360), int64_t(-90), int64_t(100)})
        {
            provider->GetRotationFeature()->SetIntValue(bad);
            QCOMPARE(provider->GetRotationFeature()->GetIntValue(false), int64_t(90));
        }
        QCOMPARE(provider->GetCurrentState(), provider->GetState(Provider::Rotation90));
    }

    // Unavailable: reads give false and 0, no frame is touched, and the flags come back with a usable format.
    void anUnavailableFormatKeepsTheFlagsButStopsTheWork()
    {
        QSignalSpy available(provider.get(), &Provider::AvailableChanged);
        provider->OnMirrorHorizontal();
        provider->OnRotateRight();
        provider->SetSourcePixelFormat(Mono10p);
        provider->SetSourcePixelFormat(Mono10p);
        QCOMPARE(available.count(), 2); // told every time, not only on a change
        QCOMPARE(available.last().at(0).toBool(), false);
        QVERIFY(!provider->GetMirrorYFeature()->GetBoolValue(false));
        QCOMPARE(provider->GetRotationFeature()->GetIntValue(false), int64_t(0));
        QVERIFY(!provider->IsMirrorActive() && !provider->IsRotationActive() && !provider->IsTransposed());
        auto image = Numbered(4, 2);
        const auto before = Pixels(*image);
        provider->Process(image);
        QCOMPARE(Pixels(*image), before);

        provider->SetSourcePixelFormat(YUV420_8_YY_UV_SemiplanarKVX);
        QVERIFY(!provider->IsAvailable());
        provider->SetSourcePixelFormat(YUV420_8_YY_VU_SemiplanarKVX);
        QVERIFY(provider->IsAvailable());
        provider->SetSourcePixelFormat(0);
        QVERIFY(!provider->IsAvailable());
        provider->SetSourcePixelFormat(BayerRG8);
        QVERIFY(provider->IsMirrorActive() && provider->IsRotationActive() && provider->IsTransposed());
    }

    // Each transition must agree with the geometry: the image of state S, after the event's operation on
    // the shown image, equals the image of the state the event leads to.
    void everyTransitionMatchesWhatTheEventDoesToTheImage()
    {
        ImageTransformer transformer;
        for (int s = 0; s < Provider::StateCount; ++s)
            for (int event = 0; event < 4; ++event)
            {
                provider->SetState(provider->GetState(Provider::StateId(s)));
                auto shown = Numbered(4, 2);
                provider->Process(shown);
                switch (event)
                {
                case 0:
                    transformer.MirrorLeftRightInPlace(*shown);
                    provider->OnMirrorHorizontal();
                    break;
                case 1:
                    transformer.MirrorUpDownInPlace(*shown);
                    provider->OnMirrorVertical();
                    break;
                case 2:
                    transformer.RotateInPlace(*shown, 90);
                    provider->OnRotateLeft();
                    break;
                default:
                    transformer.RotateInPlace(*shown, 270);
                    provider->OnRotateRight();
                    break;
                }
                auto target = Numbered(4, 2);
                provider->Process(target);
                QVERIFY2(Pixels(*shown) == Pixels(*target) && shown->GetWidth() == target->GetWidth(),
                         qPrintable(QStringLiteral("%1, event %2").arg(kStateNames[s]).arg(event)));
            }
        provider->Reset();
        QCOMPARE(provider->GetCurrentState(), provider->GetState(Provider::None));
    }

    // SetState writes the features one by one; the status slot must end at the chosen state, and transposed
    // is told only on a change.
    void setStateEndsAtTheChosenStateAndTellsTransposedOnce()
    {
        QSignalSpy transposed(provider.get(), &Provider::TransposedChanged);
        for (int s = 0; s < Provider::StateCount; ++s)
        {
            TransformationState* state = provider->GetState(Provider::StateId(s));
            provider->SetState(state);
            QCOMPARE(provider->GetCurrentState(), state);
            QCOMPARE(provider->IsTransposed(), state->rotation == 90 || state->rotation == 270);
        }
        // None, MirrorX, MirrorY, 90 (on), 180 (off), 270 (on), MY90, MY270 (stay on).
        QCOMPARE(transposed.count(), 3);
    }

    void inverseRectUndoesTheRectForEveryState()
    {
        std::mt19937 random(16);
        for (int s = 0; s < Provider::StateCount; ++s)
        {
            provider->SetState(provider->GetState(Provider::StateId(s)));
            for (int i = 0; i < 200; ++i)
            {
                const int32_t W = int32_t(random() % 4000 + 1), H = int32_t(random() % 3000 + 1);
                TransformationRect r;
                r.x = random() % W;
                r.y = random() % H;
                r.width = random() % (W - r.x) + 1;
                r.height = random() % (H - r.y) + 1;
                const TransformationRect back =
                    provider->InverseTransformRect(provider->TransformRect(r, {W, H}), {W, H});
                QVERIFY2(back == r, kStateNames[s]);
            }
        }
    }

    // A single marked pixel ends where the 1x1 rectangle's map says, and points map like an empty rectangle.
    void aMarkerPixelEndsWhereTheRectangleMapSays()
    {
        const uint32_t W = 6, H = 4;
        for (int s = 0; s < Provider::StateCount; ++s)
        {
            provider->SetState(provider->GetState(Provider::StateId(s)));
            for (uint32_t y = 0; y < H; ++y)
                for (uint32_t x = 0; x < W; ++x)
                {
                    auto image = std::make_shared<Image>(Image::Construct(Mono8, W, H));
                    std::fill(image->GetData(), image->GetData() + image->GetByteCount(), 0);
                    image->GetData()[y * W + x] = 255;
                    provider->Process(image);
                    const TransformationRect where =
                        provider->TransformRect({int64_t(x), int64_t(y), 1, 1}, {int32_t(W), int32_t(H)});
                    const uint8_t* data = image->GetData();
                    const auto found = std::find(data, data + image->GetByteCount(), 255) - data;
                    QVERIFY2(found == where.y * image->GetWidth() + where.x, kStateNames[s]);

                    const TransformationRect point =
                        provider->TransformRect({int64_t(x), int64_t(y), 0, 0}, {int32_t(W), int32_t(H)});
                    const auto points = provider->TransformPoints({{int32_t(x), int32_t(y)}}, {int32_t(W), int32_t(H)});
                    QCOMPARE(points.front(), TransformationPoint(int32_t(point.x), int32_t(point.y)));
                }
        }
    }

    // For each state and order: the transformed red mosaic carries the format MapBayerPixelFormat names, and
    // that format demosaics it to red.
    void aRedMosaicStaysRedInEveryStateAndOrder()
    {
        ImageConverter converter;
        for (int s = 0; s < Provider::StateCount; ++s)
        {
            provider->SetState(provider->GetState(Provider::StateId(s)));
            for (BayerPattern pattern : {BayerPattern::RG, BayerPattern::GR, BayerPattern::GB, BayerPattern::BG})
            {
                auto image = RedMosaic(pattern, 12, 8);
                const uint32_t mapped = provider->MapBayerPixelFormat(image->GetPixelFormat());
                provider->Process(image);
                QCOMPARE(image->GetPixelFormat(), mapped);
                const Image rgb = converter.Convert(*image, RGB8);
                for (uint32_t y = 2; y + 2 < rgb.GetHeight(); ++y)
                    for (uint32_t x = 2; x + 2 < rgb.GetWidth(); ++x)
                    {
                        const uint8_t* p = rgb.GetData() + (y * rgb.GetWidth() + x) * 3;
                        QVERIFY2(p[0] > 150 && p[1] < 40 && p[2] < 40, kStateNames[s]);
                    }
            }
        }
    }

    // The mapping keeps depth and packing, takes a given source order over the format's own, and leaves
    // formats without a mosaic alone.
    void mapBayerPixelFormatKeepsDepthAndPacking()
    {
        provider->OnRotateLeft(); // RG -> GB
        QCOMPARE(provider->MapBayerPixelFormat(BayerRG12p), uint32_t(BayerGB12p));
        QCOMPARE(provider->MapBayerPixelFormat(BayerRG10), uint32_t(BayerGB10));
        QCOMPARE(provider->MapBayerPixelFormat(BayerGB8, BayerPattern::RG), uint32_t(BayerGB8));
        QCOMPARE(provider->MapBayerPixelFormat(BayerBG8, BayerPattern::RG), uint32_t(BayerGB8));
        QCOMPARE(provider->MapBayerPixelFormat(RGB8), uint32_t(RGB8));
        QCOMPARE(provider->MapBayerPixelFormat(0x12345678u), 0x12345678u);
    }

    // A failing stage logs and leaves the frame: an odd-sized raw image goes on unturned, with its own tag.
    void anOddRawImageGoesOnUnchanged()
    {
        provider->SetSourcePixelFormat(BayerRG8);
        provider->OnRotateLeft();
        auto image = std::make_shared<Image>(Image::Construct(BayerRG8, 5, 4));
        std::fill(image->GetData(), image->GetData() + image->GetByteCount(), 7);
        provider->Process(image);
        QCOMPARE(image->GetWidth(), 5u);
        QCOMPARE(image->GetPixelFormat(), uint32_t(BayerRG8));
    }

private:
    std::unique_ptr<Provider> provider;
};

QTEST_GUILESS_MAIN(TestTransformation)
#include "test_transformation.moc"
