// SPDX-License-Identifier: MIT
#include "webcam/WebcamUnit.h"

#include <utility>

namespace lightpen::webcam {

WebcamUnit::WebcamUnit(UnitDescription description, UnitSocket* socket, const UnitMemory& memory)
    : SoftwareUnit(std::move(description), socket, eye_), lens_(memory.lens) {
    *flash() = memory.flash;
    *pairingTable() = memory.pairingTable;
}

UnitMemory WebcamUnit::memory() {
    const Hold held = hold();
    return {*flash(), *pairingTable(), lens_};
}

UnitDescription webcamUnitDescription(const std::string& name, const std::string& identity) {
    UnitDescription description;
    description.vendorName = name;
    description.serialNumber = identity;
    return description;
}

} // namespace lightpen::webcam
