#include "monitor.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "interrupt.h"
#include "messages.h"

namespace {

constexpr int PORT = 0;
constexpr int POLL_INTERVAL = 20;    // Milliseconds; the port can't be waited for.
constexpr long MOST_TO_SEND = 2048;  // Bytes that a port queues at most.
constexpr char LINE_END[] = "\r\n";

[[noreturn]] void Fail(const String& device, const char* reason) {
    throw std::runtime_error(Escaped(device) + ": " + reason);
}

String OnOrOff(const char* line, bool isOn) { return String(line) + (isOn ? " on" : " off"); }

}  // namespace

Monitor::Monitor(const String& devicePath, const LineSettings& settings, bool inHexadecimal)
    : m_Device(devicePath), m_Arrivals(inHexadecimal) {
    SetSerialDevice(PORT, m_Device.c_str());
    const auto& [baud, parity, dataBits, stopBits, hasHandshake] = settings;
    if (!m_Port.Open(PORT, baud, parity, dataBits, stopBits))
        Fail(m_Device, "missing, no serial port, or in use");
    // `Open` doesn't tell whether the device took the settings.
    if (!m_Port.SetPortA(baud, parity, dataBits, stopBits))
        Fail(m_Device, "doesn't take these settings");
    if (hasHandshake)
        m_Port.UseRtsCts(true);
}

void Monitor::Run() {
    HaveLinesChanged();
    ShowState();
    while (!IsInterrupted()) {
        m_Input.Wait(POLL_INTERVAL);
        Receive();
        QueueLine();
        Send();
        if (HaveLinesChanged())
            ShowState();
    }
    m_Arrivals.ShowRest();
    ShowState();
}

void Monitor::Receive() {
    unsigned char bytes[4096];
    const unsigned long size = m_Port.RxBuffer(bytes, sizeof bytes, nullptr);
    if (size != 0)
        m_Arrivals.Add({bytes, bytes + size});
    else
        StopIfGone();
    m_Arrivals.ShowOld();
}

void Monitor::QueueLine() {
    if (!m_Outgoing.empty())
        return;
    if (const auto line = m_Input.TakeLine()) {
        m_Outgoing = *line + LINE_END;
        ShowRow(MARK_SENT, Escaped(*line));
    }
}

void Monitor::Send() {
    const long space = std::max(MOST_TO_SEND - m_Port.TxSize(), 0L);
    const std::size_t size = std::min(m_Outgoing.size(), static_cast<std::size_t>(space));
    auto* const bytes = reinterpret_cast<unsigned char*>(m_Outgoing.data());
    if (m_Port.TxBuffer(bytes, static_cast<int>(size), false) == 1) {
        m_Outgoing.erase(0, size);
        return;
    }
    m_Outgoing.clear();  // How much of it went out isn't known.
    ShowRow(MARK_STATE, "the line is held: not all was sent");
    ShowState();
}

bool Monitor::HaveLinesChanged() {
    const bool before[] = {m_HasCarrier, m_IsClearToSend};
    m_HasCarrier = m_Port.GetCd();
    m_IsClearToSend = m_Port.GetCTS();
    return m_HasCarrier != before[0] || m_IsClearToSend != before[1];
}

void Monitor::ShowState() {
    const auto waiting = [](long bytes) {
        return CountOf(static_cast<unsigned __int64>(bytes), "byte");
    };
    ShowRow(MARK_STATE, OnOrOff("CTS", m_IsClearToSend) + ", " + OnOrOff("CD", m_HasCarrier) +
                            ", " + waiting(m_Port.RxSize()) + " to read, " +
                            waiting(m_Port.TxSize()) + " to send");
}

// The port itself doesn't tell: without its device it looks like one on which nothing happens.
void Monitor::StopIfGone() const {
    if (!std::filesystem::exists(std::string(m_Device)))
        Fail(m_Device, "has gone");
}
