#include "monitor.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>

#include "interrupt.h"
#include "messages.h"

namespace {

constexpr int PORT = 0;
constexpr int POLL_INTERVAL = 20;          // Milliseconds; modem lines can't be waited for.
constexpr std::size_t SENT_AT_ONCE = 256;  // Bytes, which a device with space takes at once.
constexpr unsigned int LONG_WITHOUT_SENDING = 1000;  // Milliseconds.
constexpr char LINE_END[] = "\r\n";

[[noreturn]] void Fail(const String& device, const String& reason) {
    throw std::runtime_error(Escaped(device) + ": " + reason);
}

String OnOrOff(const char* line, bool isOn) { return String(line) + (isOn ? " on" : " off"); }

}  // namespace

Monitor::Monitor(const String& devicePath, const LineSettings& settings, bool inHexadecimal)
    : m_Device(devicePath), m_Events(devicePath), m_Arrivals(inHexadecimal) {
    SetSerialDevice(PORT, m_Device.c_str());
    const auto& [baud, parity, dataBits, stopBits, hasHandshake] = settings;
    if (!m_Port.Open(PORT, baud, parity, dataBits, stopBits))
        Fail(m_Device, ReasonOf(errno));
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
        const bool hasSpace = Wait();
        Receive();
        if (hasSpace)
            Send();
        else
            ReportHeldLine();
        TakeLines();
        if (HaveLinesChanged())
            ShowState();
    }
    m_Arrivals.ShowRest();
    ShowState();
}

// Whether the device takes what is to be sent.
bool Monitor::Wait() {
    const Event event = m_Events.Wait(m_Input.IsWanted(), !m_Outgoing.empty(), POLL_INTERVAL);
    if (event.isGone)
        Fail(m_Device, "has gone");
    if (event.hasInput)
        m_Input.Read();
    return event.hasSpace;
}

void Monitor::Receive() {
    unsigned char bytes[4096];
    const unsigned long size = m_Port.RxBuffer(bytes, sizeof bytes, nullptr);
    if (size != 0)
        m_Arrivals.Add({bytes, bytes + size});
    else if (errno != EAGAIN)
        Fail(m_Device, ReasonOf(errno));
    m_Arrivals.ShowOld();
}

void Monitor::TakeLines() {
    if (m_Outgoing.empty())
        m_LastSent = GetSystemTickCount();
    while (m_Outgoing.size() < SENT_AT_ONCE) {
        auto part = m_Input.Take();
        if (!part)
            return;
        const bool isLineComplete = part->back() == '\n';
        part->resize(part->size() - (isLineComplete ? 1 : 0));
        m_Outgoing += *part + (isLineComplete ? LINE_END : "");
        ShowRow(MARK_SENT, Escaped(*part));
    }
}

void Monitor::Send() {
    const std::size_t size = std::min(m_Outgoing.size(), SENT_AT_ONCE);
    auto* const bytes = reinterpret_cast<unsigned char*>(m_Outgoing.data());
    m_LastSent = GetSystemTickCount();
    m_IsHeld = false;
    if (m_Port.TxBuffer(bytes, static_cast<int>(size), false) == 1) {
        m_Outgoing.erase(0, size);
        return;
    }
    if (errno != EAGAIN)
        Fail(m_Device, ReasonOf(errno));
    m_Outgoing.clear();  // How much of it went out isn't known.
    ShowRow(MARK_STATE, "the line is held: not all was sent");
    ShowState();
}

void Monitor::ReportHeldLine() {
    if (m_Outgoing.empty() || m_IsHeld ||
        CalculateTicksDifference(GetSystemTickCount(), m_LastSent) < LONG_WITHOUT_SENDING)
        return;
    m_IsHeld = true;
    ShowRow(MARK_STATE, "the line is held");
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
