#include "engine/product_registration.h"

// There is no registration yet, hence no address that a new password could be sent to.
int product_registration(int operation)
{
    constexpr int kNewPassword = 70;
    constexpr int kNothingRegistered = 1;
    constexpr int kUnknownOperation = -1;
    return operation == kNewPassword ? kNothingRegistered : kUnknownOperation;
}
