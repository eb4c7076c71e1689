#include "keymap/CommandLine.h"

namespace keymap {

Command parseCommandLine(const std::vector<QByteArray> &arguments)
{
    Command command;
    if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
        command.kind = Command::Kind::Help;
    } else if (arguments.size() == 3 && arguments[0] == "property" && arguments[1] == "--set") {
        command.kind = Command::Kind::SetProperty;
        command.property = arguments[2];
    } else if (arguments.size() == 1 && arguments[0] == "watch") {
        command.kind = Command::Kind::Watch;
    } else {
        command.error = QStringLiteral("usage: vistrel-keymap property --set JSON (see --help)");
    }
    return command;
}

QString usageText()
{
    return QStringLiteral(
        "usage: vistrel-keymap property --set JSON\n"
        "       vistrel-keymap watch\n"
        "       vistrel-keymap --help\n"
        "\n"
        "Applies a key mapping to the X keymap of $DISPLAY. JSON is\n"
        "  {\"UserKeyMapping\":[{\"HIDKeyboardModifierMappingSrc\":N,\"HIDKeyboardModifierMappingDst\":M},...]}\n"
        "with N and M = 0x700000000 + a keyboard-page HID usage. Key N then does what key M\n"
        "did before the first mapping: its keysyms and its modifier. Each --set replaces the\n"
        "previous mapping; an empty list restores the original keymap.\n"
        "\n"
        "watch runs while a mapping is in force: it puts the mapping back when someone else\n"
        "changes the keymap, and restores the original keymap when its standard input ends\n"
        "without a \"stop\" line (the program that started it is gone).\n"
        "\n"
        "Exit status: 0 done, 1 bad arguments, 2 bad property, 3 no display,\n"
        "4 the X server did not take the change (e.g. a modifier key is held down).\n");
}

} // namespace keymap
