// detail::PortDevice: an in-process ArvDevice whose memory is a RegisterBank.
//
// It lets Aravis' node engine (ArvGc) run over GenICam XML that we write ourselves: the system, interface,
// local device and data stream node maps, and register-level fixtures in tests. The device owns its ArvGc;
// read_memory/write_memory go to the bank. Access and range checks of the node engine are switched on.
//
// Threads: created on any thread; reads and writes come from whichever thread uses the node map (under that
// map's mutex). The bank is shared so its owner can keep changing live values.
#pragma once

#include "orna/core/detail/gobjectptr.h"
#include "orna/core/detail/registerbank.h"

#include <arv.h>

#include <memory>
#include <mutex>
#include <string>

namespace orna::core::detail {

// Aravis 0.8 parses every GenICam description (arv_gc_new, also inside the opening of any Aravis device) with
// one static parser state: two parses at once, on any two threads, corrupt each other's documents (seen as GLib
// criticals and refused or broken node maps when the camera list's lock probe opened a camera while a window
// opened another). Every call that may parse holds this process-wide lock. It is a leaf lock apart from the
// transport's interface lock, which is taken before it.
std::mutex& AravisParseMutex();

// Builds the device and its node tree from xml. Raises InvalidArgumentException when the XML is not a
// GenICam description the node engine accepts. engineXml, when not empty, is what the node engine loads
// instead of xml (chunk ports rewritten onto bank windows); the device still reports xml as its description.
// checked says the caller has parsed xml already and found it well-formed, so it is not parsed again.
GObjectPtr<ArvDevice> CreatePortDevice(std::shared_ptr<RegisterBank> bank, const std::string& xml,
                                       const std::string& engineXml = {}, bool checked = false);

// The bank behind a device made by CreatePortDevice (null for any other device).
std::shared_ptr<RegisterBank> PortDeviceBank(ArvDevice* device);

bool IsPortDevice(ArvDevice* device);

} // namespace orna::core::detail
