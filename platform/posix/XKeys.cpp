// Keys of an X server by Windows' numbers: see XKeys.h.
#include "XKeys.h"

#include <X11/keysym.h>
#include <windows.h>

namespace NV {

namespace {

struct Row {
    unsigned long symbol;
    int key;
};

constexpr Row keyRows[] = {
    {XK_BackSpace, VK_BACK},
    {XK_Tab, VK_TAB},
    {XK_ISO_Left_Tab, VK_TAB},
    {XK_Return, VK_RETURN},
    {XK_KP_Enter, VK_RETURN},
    {XK_Escape, VK_ESCAPE},
    {XK_space, VK_SPACE},
    {XK_Prior, VK_PRIOR},
    {XK_Next, VK_NEXT},
    {XK_End, VK_END},
    {XK_Home, VK_HOME},
    {XK_Left, VK_LEFT},
    {XK_Up, VK_UP},
    {XK_Right, VK_RIGHT},
    {XK_Down, VK_DOWN},
    {XK_Insert, VK_INSERT},
    {XK_Delete, VK_DELETE},
    {XK_KP_Prior, VK_PRIOR},
    {XK_KP_Next, VK_NEXT},
    {XK_KP_End, VK_END},
    {XK_KP_Home, VK_HOME},
    {XK_KP_Left, VK_LEFT},
    {XK_KP_Up, VK_UP},
    {XK_KP_Right, VK_RIGHT},
    {XK_KP_Down, VK_DOWN},
    {XK_KP_Insert, VK_INSERT},
    {XK_KP_Delete, VK_DELETE},
    {XK_KP_Multiply, VK_MULTIPLY},
    {XK_KP_Add, VK_ADD},
    {XK_KP_Subtract, VK_SUBTRACT},
    {XK_KP_Decimal, VK_DECIMAL},
    {XK_KP_Divide, VK_DIVIDE},
    {XK_Shift_L, VK_SHIFT},
    {XK_Shift_R, VK_SHIFT},
    {XK_Control_L, VK_CONTROL},
    {XK_Control_R, VK_CONTROL},
    {XK_Alt_L, VK_MENU},
    {XK_Alt_R, VK_MENU},
    {XK_plus, VK_OEM_PLUS},
    {XK_equal, VK_OEM_PLUS},
    {XK_comma, VK_OEM_COMMA},
    {XK_minus, VK_OEM_MINUS},
    {XK_period, VK_OEM_PERIOD},
};

int Lookup(unsigned long symbol)
{
    if (symbol >= XK_a && symbol <= XK_z)
        return 'A' + static_cast<int>(symbol - XK_a);
    if (symbol >= XK_A && symbol <= XK_Z)
        return 'A' + static_cast<int>(symbol - XK_A);
    if (symbol >= XK_0 && symbol <= XK_9)
        return '0' + static_cast<int>(symbol - XK_0);
    if (symbol >= XK_KP_0 && symbol <= XK_KP_9)
        return 0x60 + static_cast<int>(symbol - XK_KP_0); // VK_NUMPAD0
    if (symbol >= XK_F1 && symbol <= XK_F12)
        return VK_F1 + static_cast<int>(symbol - XK_F1);
    for (const Row& row : keyRows) {
        if (row.symbol == symbol)
            return row.key;
    }
    return 0;
}

} // namespace

int VirtualKeyOf(unsigned long alone, unsigned long symbol)
{
    const bool numberBlock = symbol >= XK_KP_Space && symbol <= XK_KP_9;
    const int key = Lookup(numberBlock ? symbol : alone);
    return key ? key : Lookup(symbol);
}

} // namespace NV
