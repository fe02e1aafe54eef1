#include "korvel_py/compat.h"
#include "korvel_py/module.h"

// The room code reaches pygame through the same shared surface table, which
// is filled again here as the room code's own start-up.
void korvel_init_rooms() { korvel::compat::import_pygame_api(); }
