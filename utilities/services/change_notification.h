/// Observers: the base class of objects that are notified of changes.
#ifndef UTILITIES_SERVICES_CHANGE_NOTIFICATION_H
#define UTILITIES_SERVICES_CHANGE_NOTIFICATION_H

#include "utilities/frame/export.h"

/// What a sender tells of a change. The library only declares these classes and passes pointers to
/// them; senders and receivers define them.
class ChangeInfo1;
class ChangeInfo2;

/// A receiver derives from this class and overrides `OnChange`. The library contains no sender: it
/// never calls these operations itself. The defaults use no data, so any thread can call them.
class UTILITIES_EXPORT ChangeReceiver {
public:
    ChangeReceiver();

    /// The class has no data: a copy takes over nothing, and an assignment changes nothing.
    ChangeReceiver(const ChangeReceiver& other);
    ChangeReceiver& operator=(const ChangeReceiver& other);

    /// Called after a change. The default does nothing and accepts null.
    virtual void OnChange(ChangeInfo1* info);
    virtual void OnChange(ChangeInfo2* info);

    virtual ~ChangeReceiver();

    /// The defaults return true and lock nothing, so they can be called in any order and number. A
    /// receiver that only one thread at a time may call overrides both.
    virtual bool lock() const;
    virtual bool unlock() const;

protected:
    /// Called by the assignment. Does nothing.
    void assign(const ChangeReceiver& other);
};

#endif
