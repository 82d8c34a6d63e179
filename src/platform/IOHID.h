// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "platform/IOReturn.h"
#include "platform/PriorityInheritance.h"
#include "platform/RunLoop.h"

namespace lightpen {

using IOHIDElementCookie = std::uint32_t;

// Bytes of a report that can always be read, however short the unit declares it.
inline constexpr std::size_t kReadableReportBytes = 64;

// One input report as a queue delivers it.
struct IOHIDEventStruct {
    std::uint32_t type = 0;
    IOHIDElementCookie elementCookie = 0;
    std::int32_t value = 0;
    std::uint64_t timestamp = 0;     // microseconds of the platform's clock
    std::uint32_t longValueSize = 0; // the declared length of the report
    // The whole report; zero-padded to at least longValueSize and at least kReadableReportBytes bytes.
    std::vector<std::uint8_t> longValue;
};

// Makes it the event for a report of the declared length: shorter ones are zero-padded, longer ones cut. An
// event that has held such a report allocates nothing.
void writeInputReportEvent(IOHIDEventStruct& event, IOHIDElementCookie cookie,
                           std::span<const std::uint8_t> report, std::size_t declaredLength,
                           std::uint64_t timestamp);
// A new event for it.
IOHIDEventStruct inputReportEvent(IOHIDElementCookie cookie, std::span<const std::uint8_t> report,
                                  std::size_t declaredLength, std::uint64_t timestamp);

// This system sends output reports and queues input reports; feature reports are not known.
enum class IOHIDReportType : std::uint32_t { input = 0, output = 1, feature = 2 };

// A time-out argument that stands for waiting without limit.
inline constexpr std::uint32_t kIOHIDNoTimeout = 0xFFFFFFFF;

class IOHIDQueueInterface;

// Called on the main loop for each report that a queue has taken. The sender is the queue.
using IOHIDEventCallout = std::function<void(IOReturn result, IOHIDQueueInterface& sender)>;

// The queues that are fed together, and their lock. One lock is enough for all of them, and so whoever feeds
// them takes one.
struct FedQueues {
    PriorityInheritanceMutex mutex;
    std::vector<IOHIDQueueInterface*> queues; // each leaves at its end
};

// An ordered queue of whole input reports, of a fixed depth: the oldest report goes when it is full. A
// backend pushes from its reader thread; all operations may be called from any thread. A double overrides
// operations to watch them or to make them fail. It must be owned by a shared pointer.
class IOHIDQueueInterface : public std::enable_shared_from_this<IOHIDQueueInterface> {
public:
    // The drain is called, without any lock held, before each answer of getNextEvent: a backend fetches there
    // what its reader thread has not come to yet. It may be empty.
    explicit IOHIDQueueInterface(std::function<void()> drain = {}) : drain_(std::move(drain)) {}
    virtual ~IOHIDQueueInterface();
    IOHIDQueueInterface(const IOHIDQueueInterface&) = delete;
    IOHIDQueueInterface& operator=(const IOHIDQueueInterface&) = delete;

    // Makes it one of those that are fed together, once, before anybody else has the queue.
    void join(std::shared_ptr<FedQueues> fed);
    // Takes a report if the queue is created, started and holds the event's element; returns whether it did.
    bool push(const IOHIDEventStruct& event);
    // The same, under the lock of the queues that are fed together: where the report goes, to be written at
    // once; null when it is not taken.
    IOHIDEventStruct* roomFor(IOHIDElementCookie cookie);
    // Asks for the callout of a report that was taken, under that lock.
    void reportTaken();

    // Yields the source through which the callouts are delivered, once it is attached to the main loop.
    virtual IOReturn createAsyncEventSource(RunLoopSourceRef& source);
    // Sets how many reports the queue holds; a full queue loses its oldest report. No flags are known.
    // kIOReturnBadArgument for a depth of 0.
    virtual IOReturn create(std::uint32_t flags, std::uint32_t depth);
    // Ends the queue: it takes no more reports and yields none.
    virtual IOReturn dispose();
    // Lets the queue take this element's reports; a queue without elements takes none. Adding twice is adding
    // once; no flags are known.
    virtual IOReturn addElement(IOHIDElementCookie cookie, std::uint32_t flags);
    virtual bool hasElement(IOHIDElementCookie cookie) const;
    // Begins to take reports, with an empty queue also when it was running. kIOReturnNotOpen before create.
    virtual IOReturn start();
    // Takes no more reports; those already taken stay.
    virtual IOReturn stop();
    // Takes the oldest report into event, without waiting whatever the two arguments say (both are 0 in this
    // system). An event that has held one before is exchanged for it, and allocates nothing.
    // kIOReturnUnderrun when there is none; event is then unchanged.
    virtual IOReturn getNextEvent(IOHIDEventStruct& event, std::uint64_t maximumTime,
                                  std::uint32_t timeoutMs);
    // Replaces the callout. One callout is made for each report taken from then on.
    virtual IOReturn setEventCallout(IOHIDEventCallout callout);

private:
    void performCallout();
    RunLoopSourceRef sourceOfFirstOwed();
    IOHIDEventStruct& slot(std::size_t index);
    IOHIDEventStruct& giveUpOldest();
    void setDepth(std::size_t depth);

    const std::function<void()> drain_;
    std::shared_ptr<FedQueues> fed_ = std::make_shared<FedQueues>(); // its lock is around what follows
    std::vector<IOHIDElementCookie> elements_;
    // As many as the queue is deep; none while it is not created. They are used in turns, so that a report
    // finds memory of its length.
    std::vector<IOHIDEventStruct> slots_;
    std::size_t first_ = 0; // the slot of the oldest report
    std::size_t count_ = 0; // how many reports there are
    bool started_ = false;  // only when created
    IOHIDEventCallout callout_;
    RunLoopSourceRef source_;
    // Callouts that are still owed. One signal at a time is under way, so that a busy unit does not fill the
    // main loop; more than fit are never owed.
    std::size_t owedCallouts_ = 0;
};

using IOHIDQueueRef = std::shared_ptr<IOHIDQueueInterface>;

// One HID interface of a unit. All operations may be called from any thread.
class IOHIDDeviceInterface122 {
public:
    virtual ~IOHIDDeviceInterface122() = default;
    // Success without effect when it is open; kIOReturnNoDevice once the unit is gone.
    virtual IOReturn open(std::uint32_t flags) = 0;
    // kIOReturnNotOpen when it is not open; a send under way may end with that too.
    virtual IOReturn close() = 0;
    // Sends an output report without a number and waits until the unit has taken it, at most timeoutMs
    // (kIOHIDNoTimeout: no limit); after that it may still go out, in its order, and the answer is
    // kIOReturnTimeout. One without bytes succeeds, and is not sent. kIOReturnNoDevice once the unit is gone,
    // kIOReturnNotOpen, kIOReturnUnsupported for a report of any other kind.
    virtual IOReturn setReport(IOHIDReportType type, std::uint32_t reportID,
                               std::span<const std::uint8_t> report, std::uint32_t timeoutMs) = 0;
    // A new queue for this interface's reports, owned by the caller; null when there can be none.
    virtual IOHIDQueueRef allocQueue() = 0;
};

using IOHIDDeviceInterfaceRef = std::shared_ptr<IOHIDDeviceInterface122>;

// The step between a HID service and its device interface: makes one, owned by the caller; null when the
// service has none.
using IOCFPlugInInterface = std::function<IOHIDDeviceInterfaceRef()>;

} // namespace lightpen
