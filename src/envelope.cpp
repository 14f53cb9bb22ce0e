#include "envelope.h"

namespace MRBBridge {

std::string Answer(int result) {
    CMRBBridgeJson answer;
    answer.Set("return_ecode", result);
    return answer.ToString();
}

} // namespace MRBBridge
