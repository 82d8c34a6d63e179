// SPDX-License-Identifier: MIT
#include "webcam/WebcamUnit.h"

#include <utility>

namespace lightpen::webcam {

WebcamUnit::WebcamUnit(UnitDescription description, UnitSocket* socket, const UnitMemory& memory)
    : SoftwareUnit(std::move(description), socket, eye_), stored_{memory.flash, memory.correction},
      before_(stored_) {
    *flash() = memory.flash;
    *pairingTable() = memory.pairingTable;
    eye_.correct(memory.correction);
}

UnitMemory WebcamUnit::memory() {
    const Hold held = hold();
    return {*flash(), *pairingTable(), stored_.correction};
}

void WebcamUnit::tryCorrection(const SightCorrection& correction) {
    const Hold held = hold();
    eye_.correct(correction);
}

void WebcamUnit::giveUpTrial() {
    const Hold held = hold();
    eye_.correct(stored_.correction);
}

bool WebcamUnit::keepTrial() {
    const Hold held = hold();
    return std::exchange(stored_.correction, eye_.correction()) != stored_.correction;
}

void WebcamUnit::correctLamp(CameraPoint lamp) {
    const Hold held = hold();
    stored_.correction.lamp = lamp;
    eye_.correct(stored_.correction);
}

void WebcamUnit::calibrationMayHaveChanged() {
    const Hold held = hold();
    const Flash now = *flash();
    if (now.holdsSameAs(stored_.flash))
        return;
    const bool comesBack = now.calibrated() && now.holdsSameAs(before_.flash);
    const SightCorrection correction = comesBack ? before_.correction : eye_.correction();
    before_ = std::exchange(stored_, {now, correction});
    eye_.correct(correction);
}

UnitDescription webcamUnitDescription(const std::string& name, const std::string& identity) {
    UnitDescription description;
    description.vendorName = name;
    description.serialNumber = identity;
    return description;
}

} // namespace lightpen::webcam
