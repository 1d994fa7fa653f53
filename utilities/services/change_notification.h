/// Observers: the base class of objects that want to be told of a change.
#ifndef UTILITIES_SERVICES_CHANGE_NOTIFICATION_H
#define UTILITIES_SERVICES_CHANGE_NOTIFICATION_H

#include "utilities/frame/export.h"

/// What a sender tells of a change. The library only passes pointers to them on; their contents are
/// the senders' and receivers' own.
class ChangeInfo1;
class ChangeInfo2;

/// A receiver derives from this and overrides `OnChange`. The library brings no sender: nothing in
/// it calls these operations. The defaults touch nothing, so they can be called from any thread.
class UTILITIES_EXPORT ChangeReceiver {
public:
    ChangeReceiver();

    /// A receiver has nothing that could be copied.
    ChangeReceiver(const ChangeReceiver& other);
    ChangeReceiver& operator=(const ChangeReceiver& other);

    /// Told of a change. The default does nothing; the argument may be null to it.
    virtual void OnChange(ChangeInfo1* info);
    virtual void OnChange(ChangeInfo2* info);

    virtual ~ChangeReceiver();

    /// Always true, in any order and number: there is nothing behind them. A receiver that must not
    /// be called from two threads at a time overrides both.
    virtual bool lock() const;
    virtual bool unlock() const;

protected:
    /// What assignment does: nothing.
    void assign(const ChangeReceiver& other);
};

#endif
