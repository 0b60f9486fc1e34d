#include "SetSteps.h"

#include <algorithm>

bool SetSteps::isRepeated(const void *session, long transaction, int command)
{
    const Step step{.session = session, .transaction = transaction, .command = command};
    if (std::find(_steps.begin(), _steps.end(), step) != _steps.end()) {
        return true;
    }
    _steps.at(_oldest) = step;
    _oldest = (_oldest + 1) % _steps.size();
    return false;
}

bool SetSteps::knows(long transaction) const
{
    return std::any_of(_steps.begin(), _steps.end(), [transaction](const Step &step) {
        return step.session != nullptr && step.transaction == transaction;
    });
}

void SetSteps::forgetAll()
{
    _steps.fill({});
}
