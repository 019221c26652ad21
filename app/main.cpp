// The installer companion app: reads its operation from the Preferences
// resource, carries it out at launch and ends by itself.
#include "app/AUAppController.h"
#include "app/AUApplication.h"
#include "app/Bundle.h"
#include "app/DebconfQuestion.h"

#include <cstring>

int main(int argc, char** argv) {
    if (argc == 2 + DebconfQuestion::kChildArgumentCount &&
        std::strcmp(argv[1], DebconfQuestion::kChildArgument) == 0) {
        return DebconfQuestion::RunAsFrontendChild(argv + 2); // under a frontend we started
    }
    const std::optional<std::string> path = Bundle::mainBundle().pathForResource("Preferences");
    AUAutoPreferences.reset(path ? LoadPropertyList(*path) : nullptr);
    if (AUApplication::preferences() == nullptr) {
        // No Preferences: nothing to do, and success, deliberately: the package
        // installer goes on with a bundle that asks for nothing.
        return 0;
    }
    const auto operation = AUApplication::preferences()->find("OperationType");
    AUApplication::setOperationType(
        operation == AUApplication::preferences()->end() ? 0 : operation->second.intValue());
    AUAppController controller;
    return AUApplication::sharedApplication().run(controller);
}
