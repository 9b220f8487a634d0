// How many threads the image kernels may use.
//
// Conversions split large images into bands that run on one process-wide worker pool. A host that must
// keep cores free for the receive threads (or a measurement that must know what one thread costs) caps
// the pool here; the setting holds for every converter in the process.
//
// Thread safety: call from one thread while no conversion runs (at start-up, or from a settings dialog
// between acquisitions); GetKernelThreads may be called from any thread.
#pragma once

namespace orna::ipl {

// count 0 restores the default (one thread per core); 1 runs every kernel on the calling thread.
void SetKernelThreads(int count);
int GetKernelThreads();

} // namespace orna::ipl
