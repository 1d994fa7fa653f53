#include "monitor.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "interrupt.h"
#include "messages.h"

namespace {

constexpr int PORT = 0;
constexpr int ROUND_MILLISECONDS = 20;
constexpr long MOST_TO_SEND = 2048;  ///< What a port takes ahead of the line.
constexpr char LINE_END[] = "\r\n";

[[noreturn]] void Fail(const String& device, const char* reason) {
    throw std::runtime_error(Escaped(device) + ": " + reason);
}

String OnOrOff(const char* line, bool isOn) { return String(line) + (isOn ? " on" : " off"); }

}  // namespace

Monitor::Monitor(const String& devicePath, const LineSettings& settings, bool inHexadecimal)
    : device(devicePath), arrivals(inHexadecimal) {
    SetSerialDevice(PORT, device.c_str());
    const auto& [baud, parity, dataBits, stopBits, hasHandshake] = settings;
    if (!port.Open(PORT, baud, parity, dataBits, stopBits))
        Fail(device, "missing, no serial port, or in use");
    if (!port.SetPortA(baud, parity, dataBits, stopBits))  // `Open` doesn't tell.
        Fail(device, "doesn't take these settings");
    if (hasHandshake)
        port.UseRtsCts(true);
}

void Monitor::Run() {
    HaveLinesChanged();
    ShowState();
    while (!IsInterrupted()) {
        input.Wait(ROUND_MILLISECONDS);
        Receive();
        TakeLine();
        Send();
        if (HaveLinesChanged())
            ShowState();
    }
    arrivals.ShowRest();
    ShowState();
}

void Monitor::Receive() {
    unsigned char bytes[4096];
    const unsigned long size = port.RxBuffer(bytes, sizeof bytes, nullptr);
    if (size != 0)
        arrivals.Add({bytes, bytes + size});
    else
        StopIfGone();
    arrivals.ShowOld();
}

void Monitor::TakeLine() {
    if (!outgoing.empty())
        return;
    if (const auto line = input.TakeLine()) {
        outgoing = *line + LINE_END;
        ShowRow(MARK_SENT, Escaped(*line));
    }
}

void Monitor::Send() {
    const long room = std::max(MOST_TO_SEND - port.TxSize(), 0L);
    const std::size_t size = std::min(outgoing.size(), static_cast<std::size_t>(room));
    auto* const bytes = reinterpret_cast<unsigned char*>(outgoing.data());
    if (port.TxBuffer(bytes, static_cast<int>(size), false) == 1) {
        outgoing.erase(0, size);
        return;
    }
    outgoing.clear();  // How much of it went out isn't known.
    ShowRow(MARK_STATE, "the line is held: not all was sent");
    ShowState();
}

bool Monitor::HaveLinesChanged() {
    const bool before[] = {hasCarrier, isClearToSend};
    hasCarrier = port.GetCd();
    isClearToSend = port.GetCTS();
    return hasCarrier != before[0] || isClearToSend != before[1];
}

void Monitor::ShowState() {
    const auto waiting = [](long bytes) {
        return Counted(static_cast<unsigned __int64>(bytes), "byte");
    };
    ShowRow(MARK_STATE, OnOrOff("CTS", isClearToSend) + ", " + OnOrOff("CD", hasCarrier) + ", " +
                            waiting(port.RxSize()) + " to read, " + waiting(port.TxSize()) +
                            " to send");
}

/// A port whose device has gone looks like one on which nothing happens.
void Monitor::StopIfGone() const {
    if (!std::filesystem::exists(std::string(device)))
        Fail(device, "has gone");
}
