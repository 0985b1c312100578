#include "iremote_broker.h"

namespace OHOS {

BrokerRegistration& BrokerRegistration::Get()
{
    static BrokerRegistration* registration = new BrokerRegistration();
    return *registration;
}

bool BrokerRegistration::Register(const std::u16string& descriptor, const Constructor& creator, const void* owner)
{
    if (descriptor.empty() || !creator) {
        return false;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    return creators_.emplace(descriptor, std::make_pair(creator, owner)).second;
}

void BrokerRegistration::Unregister(const std::u16string& descriptor, const void* owner)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = creators_.find(descriptor);
    if (it != creators_.end() && (owner == nullptr || it->second.second == owner)) {
        creators_.erase(it);
    }
}

sptr<IRemoteBroker> BrokerRegistration::NewInstance(const std::u16string& descriptor, const sptr<IRemoteObject>& object)
{
    if (object == nullptr) {
        return nullptr;
    }
    if (!object->IsProxyObject()) {
        return object->AsInterface();
    }
    Constructor creator;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = creators_.find(descriptor);
        if (it == creators_.end()) {
            return nullptr;
        }
        creator = it->second.first;
    }
    return creator(object);
}

}  // namespace OHOS
