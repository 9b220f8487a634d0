// The numbers of the host auto features: ranges, defaults, law gains and frame budgets. docs/autofeatures.md
// explains each; tests check behaviour (convergence, ending, bounded steps), not these values.
#pragma once

#include <cstdint>

namespace orna::afl::constants {

// --- Shared
// Frames to leave alone after a write, so that frames exposed before the write do not count.
constexpr int32_t kSkipFramesMin = 0;
constexpr int32_t kSkipFramesMax = 10;
constexpr int32_t kSkipFramesDefaultBrightness = 2;
constexpr int32_t kSkipFramesDefaultWhiteBalance = 1;
// At most this many samples feed one statistic: rows are taken in Bayer row pairs with a stride that keeps
// below it, so a large frame costs no more than a small one.
constexpr int64_t kStatisticsMaxSamples = 1 << 20;
// A "Once" that has not converged after this many frames (skipped ones included) ends "Off" all the same
// (with its callbacks), so an unreachable target cannot keep it running for ever. The optimise routine gives
// up earlier (after 100 frames) and reports the failure.
constexpr int kOnceGiveUpFrames = 200;

// --- Brightness (controller type 1)
constexpr double kPercentileMin = 0.0, kPercentileMax = 100.0, kPercentileIncrement = 1.0;
constexpr double kPercentileDefault = 50.0;
// Target and tolerance on a 0..255 scale of full scale, whatever the bit depth.
constexpr double kTargetMin = 0.0, kTargetMax = 255.0, kTargetIncrement = 1.0;
constexpr double kTargetDefault = 128.0;
constexpr double kToleranceMin = 0.0, kToleranceMax = 64.0, kToleranceIncrement = 1.0;
constexpr double kToleranceDefault = 6.0;
// The law: total factor r = (target / statistic) ^ kDamping, bounded to [1 / kMaxStep, kMaxStep]. A black
// frame (statistic 0) or a saturated one (at or above kSaturatedLevel) steps by the bound.
constexpr double kDamping = 0.85;
constexpr double kMaxStep = 4.0;
constexpr double kSaturatedLevel = 254.0;
// Exposure is raised first, up to this limit (microseconds) or the node's maximum, whichever is lower; what
// remains goes to gain. Lowering takes gain down first.
constexpr double kExposureUpperLimitUs = 100000.0;
// Frames within which "Once" reaches the tolerance from a fifth of the target on the simulated camera (the
// convergence tests hold the law to it).
constexpr int kBrightnessOnceFrameBudget = 40;

// --- White balance (controller type 2)
// Grey world: red *= (G / R) ^ kWhiteBalanceDamping, blue likewise; converged when R/G and B/G are within
// kWhiteBalanceTolerance of 1.
constexpr double kWhiteBalanceDamping = 0.9;
constexpr double kWhiteBalanceTolerance = 0.01;
// Channel means below this (0..255 scale) say nothing about colour: no step.
constexpr double kWhiteBalanceMinMean = 2.0;
constexpr int kWhiteBalanceOnceFrameBudget = 30;

} // namespace orna::afl::constants
