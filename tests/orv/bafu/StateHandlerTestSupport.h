#pragma once

// Helpers for the module state handler tests: a log writer whose output the test can read,
// and a way to bring a handler into each of its states.

#include <sstream>
#include <string>

#include "orv/bafu/ModuleStateHandler.h"
#include "orv/common/logging/LogWriter.h"
#include "orv/common/logging/Logger.h"
#include "orv/common/types/SmartPtr.h"

namespace orv {
namespace bafu {
namespace test_support {

// A logger whose lines go to a string stream. Read it only while no other thread logs.
struct CapturedLog {
    CapturedLog() { writer->setOutput(output); }

    // The text written so far, which is then forgotten.
    std::string take() {
        std::string text = output.str();
        output.str("");
        return text;
    }

    std::ostringstream output;
    common::types::SmartPtr<common::logging::LogWriter> writer{
        new common::logging::LogWriter("module")};
    common::logging::Logger logger{writer};
};

// Drives a fresh handler into `state` through its public operations. ShuttingDown is reached
// from Running with no method open, so that the shutdown does not wait.
inline void enterState(ModuleStateHandler& handler, ModuleStateHandler::EState state) {
    switch (state) {
        case ModuleStateHandler::Off:
            break;
        case ModuleStateHandler::Configuration:
            handler.configMethod_Begin();
            break;
        case ModuleStateHandler::Initialization:
            handler.init_Begin();
            break;
        case ModuleStateHandler::Running:
            handler.init_Begin();
            handler.init_End(true);
            break;
        case ModuleStateHandler::ShuttingDown:
            handler.init_Begin();
            handler.init_End(true);
            handler.shutdown_Begin([] {});
            break;
        case ModuleStateHandler::InitFailed:
            handler.init_Begin();
            handler.init_End(false);
            break;
    }
}

}  // namespace test_support
}  // namespace bafu
}  // namespace orv
