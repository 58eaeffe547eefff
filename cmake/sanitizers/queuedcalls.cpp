// Tells ThreadSanitizer that a function which one thread leaves to another to call is handed over:
// the toolkit that does so is not compiled with it. Takes the place of the toolkit's own function,
// and calls that one.
#include <QMetaObject>
#include <QObject>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace
{

class HandedOver : public QtPrivate::QSlotObjectBase
{
public:
    explicit HandedOver(QtPrivate::QSlotObjectBase *function)
        : QSlotObjectBase(&HandedOver::act), function_(function)
    {
        __tsan_release(function_);
    }

private:
    static void act(int which, QSlotObjectBase *self, QObject *receiver, void **arguments, bool *)
    {
        auto *const handed = static_cast<HandedOver *>(self);
        if (which == Call) {
            __tsan_acquire(handed->function_);
            handed->function_->call(receiver, arguments);
            __tsan_release(handed->function_);
        } else if (which == Destroy) {
            __tsan_acquire(handed->function_);
            handed->function_->destroyIfLastRef();
            delete handed;
        }
    }

    QtPrivate::QSlotObjectBase *const function_;
};

using Invoke = bool (*)(QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *);

} // namespace

bool QMetaObject::invokeMethodImpl(QObject *object, QtPrivate::QSlotObjectBase *function,
                                   Qt::ConnectionType type, void *result)
{
    static const auto toolkits = reinterpret_cast<Invoke>(
        dlsym(RTLD_NEXT, "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBase"
                         "EN2Qt14ConnectionTypeEPv"));
    const bool done = toolkits(object, new HandedOver(function), type, result);
    if (type == Qt::BlockingQueuedConnection)
        __tsan_acquire(function);
    return done;
}
