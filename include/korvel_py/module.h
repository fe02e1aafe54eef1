// Module-entry steps that other units provide.
#pragma once

// The room code's own start-up: pygame's surface interface for the room code.
void korvel_init_rooms();
