#include "commands/churn.h"
#include "commands/command.h"
#include "commands/doctor.h"
#include "commands/echo.h"
#include "commands/info.h"
#include "commands/list.h"
#include "commands/loop.h"
#include "commands/play.h"
#include "commands/record.h"
#include "commands/soak.h"
#include "commands/talk.h"
#include "commands/watch.h"

namespace soundcheck {

CommandList makeCommands() {
    CommandList commands;
    commands.push_back(std::make_unique<InfoCommand>());
    commands.push_back(std::make_unique<ListCommand>());
    commands.push_back(std::make_unique<WatchCommand>());
    commands.push_back(std::make_unique<PlayCommand>());
    commands.push_back(std::make_unique<RecordCommand>());
    commands.push_back(std::make_unique<TalkCommand>());
    commands.push_back(std::make_unique<LoopCommand>());
    commands.push_back(std::make_unique<EchoCommand>());
    commands.push_back(std::make_unique<SoakCommand>());
    commands.push_back(std::make_unique<ChurnCommand>());
    commands.push_back(std::make_unique<DoctorCommand>());
    return commands;
}

} // namespace soundcheck
