#pragma once

class QLabel;
class QPushButton;

// Paints what is in force (not what the user asked for) on the bridge pill and state line.
namespace BridgeStateDisplay {

void configureToggle(QPushButton *toggle);
void paint(QPushButton *toggle, QLabel *stateLine, bool running);

} // namespace BridgeStateDisplay
