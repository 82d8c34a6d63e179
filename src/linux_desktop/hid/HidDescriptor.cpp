// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/HidDescriptor.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

namespace lightpen {

namespace {

// An item's prefix without its two size bits: four bits of tag, two of type.
enum class ItemKind : std::uint8_t {
    input = 0x80,
    output = 0x90,
    feature = 0xB0,
    collection = 0xA0,
    endCollection = 0xC0,
    usagePage = 0x04,
    reportSize = 0x74,
    reportID = 0x84,
    reportCount = 0x94,
    push = 0xA4,
    pop = 0xB4,
    usage = 0x08,
};

constexpr std::uint8_t kLongItemPrefix = 0xFE;
constexpr std::size_t kDeepestPush = 16;
constexpr std::size_t kDeepestCollection = 64;
constexpr std::uint64_t kMostReportBits = kLongestHidReport * 8;

struct Item {
    std::uint8_t kind = 0;
    std::uint32_t value = 0; // unsigned, as the items read here all are
    std::size_t valueSize = 0;
};

// What push saves and pop brings back.
struct Globals {
    std::uint32_t usagePage = 0;
    std::uint32_t reportSize = 0;  // bits
    std::uint32_t reportCount = 0; // fields
    std::uint8_t reportID = 0;
};

// While it is gathered, the length of a report counts its bits.
using Gathered = std::vector<HidReport>;

// The report with this ID, or the end.
template <class Reports>
auto findReport(Reports& reports, std::uint8_t reportID) {
    return std::find_if(reports.begin(), reports.end(),
                        [&](const HidReport& report) { return report.reportID == reportID; });
}

class Parser {
public:
    explicit Parser(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::variant<HidDescriptor, HidDescriptorError> parse() {
        try {
            readItems();
        } catch (const std::invalid_argument& why) {
            return HidDescriptorError{"the report descriptor cannot be used: " + std::string(why.what()) +
                                      " (at byte " + std::to_string(position_) + " of " +
                                      std::to_string(bytes_.size()) + ")"};
        }
        return HidDescriptor{usesReportIDs_, finish(inputs_), finish(outputs_)};
    }

private:
    [[noreturn]] static void fail(const std::string& why) { throw std::invalid_argument(why); }

    void readItems() {
        if (bytes_.empty())
            fail("it is empty");
        if (bytes_.size() > kLongestHidDescriptor)
            fail("it is " + std::to_string(bytes_.size()) + " bytes long");
        while (position_ < bytes_.size())
            if (const auto item = nextItem())
                take(*item);
        if (collectionDepth_ != 0)
            fail("a collection is not ended");
        if (usesReportIDs_ && unnumbered_)
            fail("some reports have an ID and some have none");
    }

    // The next short item; none for long items, which nobody uses and which are stepped over.
    std::optional<Item> nextItem() {
        const std::uint8_t prefix = bytes_[position_];
        const std::size_t left = bytes_.size() - position_ - 1;
        if (prefix == kLongItemPrefix) {
            if (left < 2 || left - 2 < bytes_[position_ + 1])
                fail("a long item is cut short");
            position_ += 3U + bytes_[position_ + 1];
            return std::nullopt;
        }
        Item item;
        item.kind = prefix & 0xFC;
        item.valueSize = (prefix & 3) == 3 ? 4 : prefix & 3;
        if (left < item.valueSize)
            fail("an item is cut short");
        for (std::size_t byte = 0; byte < item.valueSize; ++byte)
            item.value |= std::uint32_t{bytes_[position_ + 1 + byte]} << (8 * byte);
        position_ += 1 + item.valueSize;
        return item;
    }

    void take(const Item& item) {
        switch (static_cast<ItemKind>(item.kind)) {
        case ItemKind::input:
            return addFields(inputs_);
        case ItemKind::output:
            return addFields(outputs_);
        case ItemKind::feature:
            return addFields(features_);
        case ItemKind::collection:
            return openCollection();
        case ItemKind::endCollection:
            return closeCollection();
        case ItemKind::usagePage:
            globals_.usagePage = item.value;
            return;
        case ItemKind::reportSize:
            globals_.reportSize = item.value;
            return;
        case ItemKind::reportID:
            return takeReportID(item.value);
        case ItemKind::reportCount:
            globals_.reportCount = item.value;
            return;
        case ItemKind::push:
            if (pushed_.size() == kDeepestPush)
                fail("push items are nested too deeply");
            return pushed_.push_back(globals_);
        case ItemKind::pop:
            return pop();
        case ItemKind::usage:
            if (!usage_)
                usage_ = item;
            return;
        }
        // Everything else (ranges, units, strings) does not change the layout of reports.
    }

    void takeReportID(std::uint32_t value) {
        if (value == 0 || value > 0xFF)
            fail("report ID " + std::to_string(value) + " is not allowed");
        globals_.reportID = static_cast<std::uint8_t>(value);
        usesReportIDs_ = true;
    }

    void pop() {
        if (pushed_.empty())
            fail("a pop item has no push item before it");
        globals_ = pushed_.back();
        pushed_.pop_back();
    }

    void openCollection() {
        if (collectionDepth_ == kDeepestCollection)
            fail("collections are nested too deeply");
        if (collectionDepth_++ == 0) {
            // A usage of four bytes brings its own page.
            const std::uint32_t usage = usage_ ? usage_->value : 0;
            applicationPage_ = usage_ && usage_->valueSize == 4 ? usage >> 16 : globals_.usagePage;
            applicationUsage_ = usage & 0xFFFF;
        }
        usage_.reset();
    }

    void closeCollection() {
        if (collectionDepth_ == 0)
            fail("a collection ends that never began");
        --collectionDepth_;
        usage_.reset();
    }

    // A main item: reportCount fields of reportSize bits more in the report of the current ID.
    void addFields(Gathered& reports) {
        usage_.reset();
        const std::uint64_t bits = std::uint64_t{globals_.reportSize} * globals_.reportCount;
        if (bits == 0)
            return;
        unnumbered_ = unnumbered_ || globals_.reportID == 0;
        auto found = findReport(reports, globals_.reportID);
        if (found == reports.end())
            found = reports.insert(found,
                                   HidReport{globals_.reportID, 0, 0, applicationPage_, applicationUsage_});
        if (bits > kMostReportBits || found->length + bits > kMostReportBits)
            fail("a report is longer than " + std::to_string(kLongestHidReport) + " bytes");
        found->length += static_cast<std::size_t>(bits);
    }

    static std::vector<HidReport> finish(Gathered reports) {
        IOHIDElementCookie cookie = 0;
        for (HidReport& report : reports) {
            report.length = (report.length + 7) / 8;
            report.cookie = ++cookie;
        }
        return reports;
    }

    const std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
    Globals globals_;
    std::vector<Globals> pushed_;
    std::optional<Item> usage_; // the first one since the last main item
    std::size_t collectionDepth_ = 0;
    std::uint32_t applicationPage_ = 0;
    std::uint32_t applicationUsage_ = 0;
    bool usesReportIDs_ = false;
    bool unnumbered_ = false; // some report has no ID
    Gathered inputs_, outputs_, features_;
};

} // namespace

const HidReport* HidDescriptor::inputReport(std::uint8_t reportID) const {
    const auto found = findReport(inputReports, reportID);
    return found == inputReports.end() ? nullptr : &*found;
}

std::variant<HidDescriptor, HidDescriptorError> parseHidDescriptor(std::span<const std::uint8_t> bytes) {
    return Parser(bytes).parse();
}

std::vector<PropertyDictionary> inputReportElements(const HidDescriptor& descriptor) {
    std::vector<PropertyDictionary> elements;
    for (const HidReport& report : descriptor.inputReports) {
        PropertyDictionary element;
        element.entries = {{"ReportID", std::int64_t{report.reportID}},
                           {"ElementCookie", std::int64_t{report.cookie}},
                           {"Size", static_cast<std::int64_t>(report.length * 8)},
                           {"UsagePage", std::int64_t{report.usagePage}},
                           {"Usage", std::int64_t{report.usage}}};
        elements.push_back(std::move(element));
    }
    return elements;
}

} // namespace lightpen
