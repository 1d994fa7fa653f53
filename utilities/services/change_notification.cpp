#include "utilities/services/change_notification.h"

ChangeReceiver::ChangeReceiver() = default;
ChangeReceiver::ChangeReceiver(const ChangeReceiver&) {}
ChangeReceiver& ChangeReceiver::operator=(const ChangeReceiver& other) {
    assign(other);
    return *this;
}
void ChangeReceiver::OnChange(ChangeInfo1*) {}
void ChangeReceiver::OnChange(ChangeInfo2*) {}
ChangeReceiver::~ChangeReceiver() = default;
bool ChangeReceiver::lock() const { return true; }
bool ChangeReceiver::unlock() const { return true; }
void ChangeReceiver::assign(const ChangeReceiver&) {}
