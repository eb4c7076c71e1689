#include "platform/x11/X11VirtualKeys.h"

#include <X11/keysym.h>

#include <array>
#include <utility>

namespace {

// ANSI virtual key codes (key positions on a US layout) and the keysym of each position.
constexpr std::array<std::pair<quint32, quint32>, 63> virtualKeySyms{{
    {0, XK_a},        {1, XK_s},          {2, XK_d},           {3, XK_f},
    {4, XK_h},        {5, XK_g},          {6, XK_z},           {7, XK_x},
    {8, XK_c},        {9, XK_v},          {11, XK_b},          {12, XK_q},
    {13, XK_w},       {14, XK_e},         {15, XK_r},          {16, XK_y},
    {17, XK_t},       {18, XK_1},         {19, XK_2},          {20, XK_3},
    {21, XK_4},       {22, XK_6},         {23, XK_5},          {24, XK_equal},
    {25, XK_9},       {26, XK_7},         {27, XK_minus},      {28, XK_8},
    {29, XK_0},       {30, XK_bracketright}, {31, XK_o},       {32, XK_u},
    {33, XK_bracketleft}, {34, XK_i},     {35, XK_p},          {36, XK_Return},
    {37, XK_l},       {38, XK_j},         {39, XK_apostrophe}, {40, XK_k},
    {41, XK_semicolon}, {42, XK_backslash}, {43, XK_comma},    {44, XK_slash},
    {45, XK_n},       {46, XK_m},         {47, XK_period},     {48, XK_Tab},
    {49, XK_space},   {50, XK_grave},     {51, XK_BackSpace},  {53, XK_Escape},
    {54, XK_Super_R}, {55, XK_Super_L},   {56, XK_Shift_L},    {57, XK_Caps_Lock},
    {58, XK_Alt_L},   {59, XK_Control_L}, {60, XK_Shift_R},    {61, XK_Alt_R},
    {62, XK_Control_R}, {117, XK_Delete},
    // Keypad Clear sits where PC keyboards have Num Lock (one HID usage for both).
    {71, XK_Num_Lock},
}};

} // namespace

quint32 keysymForVirtualKey(quint32 virtualKey)
{
    for (const auto &[key, keysym] : virtualKeySyms)
        if (key == virtualKey)
            return keysym;
    return 0;
}
