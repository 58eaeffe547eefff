// Tells ThreadSanitizer what one thread leaves to another through the toolkit, which is not
// compiled with it: functions, signals, and the end of a thread. Some functions take the place of
// the toolkit's own, and call those.
#include <QEvent>
#include <QMetaObject>
#include <QObject>
#include <QThread>
#include <QThreadPool>
#include <private/qobject_p.h>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

#include <functional>
#include <vector>

extern "C" void AnnotateIgnoreWritesBegin(const char *file, int line);
extern "C" void AnnotateIgnoreWritesEnd(const char *file, int line);

namespace
{

template <typename Function> Function toolkits(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// Of a signal that a thread emits for an object of another thread: what it carries is copied then,
// and left to that thread.
thread_local std::vector<bool> emissions;

void emitted(QObject *sender, int, void **)
{
    __tsan_release(sender);
    emissions.push_back(sender->thread() != QThread::currentThread());
    if (emissions.back())
        AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
}

void emissionDone(QObject *, int)
{
    if (emissions.back())
        AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
    emissions.pop_back();
}

// A call whose sender is not told was asked for by the name of its function.
bool delivered(void **data)
{
    auto *const receiver = static_cast<QObject *>(data[0]);
    const auto *const event = static_cast<QEvent *>(data[1]);
    if (event->type() == QEvent::MetaCall) {
        const auto *const call = static_cast<const QAbstractMetaCallEvent *>(event);
        __tsan_acquire(call->sender() ? const_cast<QObject *>(call->sender()) : receiver);
    }
    return false;
}

[[gnu::constructor]] void watch()
{
    static QSignalSpyCallbackSet spies{&emitted, nullptr, &emissionDone, nullptr};
    qt_register_signal_spy_callbacks(&spies);
    QInternal::registerCallback(QInternal::EventNotifyCallback, &delivered);
}

class HandedOver : public QtPrivate::QSlotObjectBase
{
public:
    HandedOver(QtPrivate::QSlotObjectBase *function, void *called)
        : QSlotObjectBase(&HandedOver::act), function_(function), called_(called)
    {
        __tsan_release(this);
    }

private:
    static void act(int which, QSlotObjectBase *self, QObject *receiver, void **arguments, bool *)
    {
        auto *const handed = static_cast<HandedOver *>(self);
        __tsan_acquire(handed);
        if (which == Call) {
            handed->function_->call(receiver, arguments);
            if (handed->called_)
                __tsan_release(handed->called_);
            __tsan_release(handed);
        } else if (which == Destroy) {
            handed->function_->destroyIfLastRef();
            delete handed;
        }
    }

    QtPrivate::QSlotObjectBase *const function_;
    void *const called_;
};

} // namespace

bool QMetaObject::invokeMethodImpl(QObject *object, QtPrivate::QSlotObjectBase *function,
                                   Qt::ConnectionType type, void *result)
{
    using Invoke = bool (*)(QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *);
    static const auto invoke =
        toolkits<Invoke>("_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBase"
                         "EN2Qt14ConnectionTypeEPv");
    if (type != Qt::BlockingQueuedConnection)
        return invoke(object, new HandedOver(function, nullptr), type, result);
    char called = 0;
    const bool done = invoke(object, new HandedOver(function, &called), type, result);
    __tsan_acquire(&called);
    return done;
}

bool QMetaObject::invokeMethod(QObject *object, const char *name, Qt::ConnectionType type,
                               QGenericReturnArgument result, QGenericArgument a,
                               QGenericArgument b, QGenericArgument c, QGenericArgument d,
                               QGenericArgument e, QGenericArgument f, QGenericArgument g,
                               QGenericArgument h, QGenericArgument i, QGenericArgument j)
{
    using Invoke =
        decltype(static_cast<bool (*)(
                     QObject *, const char *, Qt::ConnectionType, QGenericReturnArgument,
                     QGenericArgument, QGenericArgument, QGenericArgument, QGenericArgument,
                     QGenericArgument, QGenericArgument, QGenericArgument, QGenericArgument,
                     QGenericArgument, QGenericArgument)>(&QMetaObject::invokeMethod));
    static const auto invoke = toolkits<Invoke>(
        "_ZN11QMetaObject12invokeMethodEP7QObjectPKcN2Qt14ConnectionTypeE22QGenericReturnArgument"
        "16QGenericArgumentS7_S7_S7_S7_S7_S7_S7_S7_S7_");
    __tsan_release(object);
    return invoke(object, name, type, result, a, b, c, d, e, f, g, h, i, j);
}

void QThreadPool::start(std::function<void()> function, int priority)
{
    using Start = void (*)(QThreadPool *, std::function<void()>, int);
    static const auto start = toolkits<Start>("_ZN11QThreadPool5startESt8functionIFvvEEi");
    auto *const left = new std::function<void()>(std::move(function));
    __tsan_release(left);
    start(
        this,
        [this, left] {
            __tsan_acquire(left);
            (*left)();
            delete left;
            __tsan_release(this);
        },
        priority);
}

bool QThreadPool::waitForDone(int msecs)
{
    using Wait = bool (*)(QThreadPool *, int);
    static const auto wait = toolkits<Wait>("_ZN11QThreadPool11waitForDoneEi");
    const bool done = wait(this, msecs);
    __tsan_acquire(this);
    return done;
}

// Its end is a signal as well.
bool QThread::wait(QDeadlineTimer deadline)
{
    using Wait = bool (*)(QThread *, QDeadlineTimer);
    static const auto wait = toolkits<Wait>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = wait(this, deadline);
    __tsan_acquire(this);
    return ended;
}
