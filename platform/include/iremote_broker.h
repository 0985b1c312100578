/*
 * Interfaces over remote objects: IRemoteBroker, the registry of proxy creators
 * (BrokerRegistration), BrokerDelegator and iface_cast.
 */
#ifndef PLATFORM_IREMOTE_BROKER_H
#define PLATFORM_IREMOTE_BROKER_H

#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "iremote_object.h"
#include "refbase.h"

namespace OHOS {

class IRemoteBroker : public virtual RefBase {
public:
    ~IRemoteBroker() override = default;
    virtual sptr<IRemoteObject> AsObject() = 0;
};

#define DECLARE_INTERFACE_DESCRIPTOR(DESCRIPTOR) \
    static std::u16string GetDescriptor()        \
    {                                            \
        return DESCRIPTOR;                       \
    }

// The registry of proxy creators, by interface descriptor.
class BrokerRegistration {
public:
    using Constructor = std::function<sptr<IRemoteBroker>(const sptr<IRemoteObject>& object)>;

    static BrokerRegistration& Get();

    bool Register(const std::u16string& descriptor, const Constructor& creator, const void* owner = nullptr);
    void Unregister(const std::u16string& descriptor, const void* owner = nullptr);

    // A local object answers its own interface; a proxy object gets a new proxy from the creator
    // registered under `descriptor`, or null when there is none.
    sptr<IRemoteBroker> NewInstance(const std::u16string& descriptor, const sptr<IRemoteObject>& object);

private:
    BrokerRegistration() = default;
    std::mutex mutex_;
    std::map<std::u16string, std::pair<Constructor, const void*>> creators_;
};

// A static BrokerDelegator<XProxy> registers XProxy as the proxy of XProxy::GetDescriptor().
template <typename T>
class BrokerDelegator {
public:
    BrokerDelegator()
    {
        BrokerRegistration::Get().Register(
            T::GetDescriptor(), [](const sptr<IRemoteObject>& object) { return sptr<IRemoteBroker>(new T(object)); },
            this);
    }
    ~BrokerDelegator() { BrokerRegistration::Get().Unregister(T::GetDescriptor(), this); }
    BrokerDelegator(const BrokerDelegator&) = delete;
    BrokerDelegator& operator=(const BrokerDelegator&) = delete;
};

template <typename INTERFACE>
inline sptr<INTERFACE> iface_cast(const sptr<IRemoteObject>& object)
{
    if (object == nullptr) {
        return nullptr;
    }
    sptr<IRemoteBroker> broker = BrokerRegistration::Get().NewInstance(INTERFACE::GetDescriptor(), object);
    return sptr<INTERFACE>(dynamic_cast<INTERFACE*>(broker.GetRefPtr()));
}

}  // namespace OHOS

#endif  // PLATFORM_IREMOTE_BROKER_H
