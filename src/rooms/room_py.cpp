// TamRoom: the room record, its attribute table, collector support,
// conversions to the room's number and comparison by that number.
#include <Python.h>
#include <structmember.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "common/fields_py.h"
#include "common/threeway_py.h"
#include "korvel_py/common.h"
#include "korvel_py/room.h"

namespace {

// One row per field, in the order of the attribute table, which is also the
// order of the pickled state (it differs from the record's on purpose).
struct RoomField {
  const char* name;
  Py_ssize_t offset;
  int type;              // as an attribute: T_INT, T_FLOAT or T_OBJECT
  bool visited = false;  // by the collector's traversal, in table order
  // A reference's place in the release order: a clear releases places 1 to
  // kClearReleases, and deallocation the rest after it. 0 for numbers.
  int release = 0;
};

constexpr int kClearReleases = 54;
constexpr bool kVisited = true;
constexpr bool kUnvisited = false;

#define FIELD(field) #field, offsetof(TamRoom, field)

constexpr RoomField kRoomFields[] = {
    {FIELD(id), T_INT},
    {FIELD(name), T_OBJECT, kVisited, 1},
    {FIELD(room_width), T_INT},
    {FIELD(room_height), T_INT},
    {FIELD(snapx), T_INT},
    {FIELD(snapy), T_INT},
    {FIELD(isogrid), T_INT},
    {FIELD(room_speed), T_INT},
    {FIELD(room_persistent), T_INT},
    {FIELD(bgcolor), T_INT},
    {FIELD(draw_bgcolor), T_INT},
    {FIELD(room_caption), T_OBJECT, kVisited, 2},
    {FIELD(creation_code), T_OBJECT, kVisited, 3},
    {FIELD(bg0), T_OBJECT, kUnvisited, 4},
    {FIELD(bg1), T_OBJECT, kUnvisited, 5},
    {FIELD(bg2), T_OBJECT, kUnvisited, 6},
    {FIELD(bg3), T_OBJECT, kUnvisited, 7},
    {FIELD(bg4), T_OBJECT, kUnvisited, 8},
    {FIELD(bg5), T_OBJECT, kUnvisited, 9},
    {FIELD(bg6), T_OBJECT, kUnvisited, 10},
    {FIELD(bg7), T_OBJECT, kUnvisited, 11},
    {FIELD(view_enabled), T_INT},
    {FIELD(numviews), T_INT},
    {FIELD(view_xview), T_OBJECT, kVisited, 12},
    {FIELD(view_yview), T_OBJECT, kVisited, 13},
    {FIELD(view_object), T_OBJECT, kVisited, 14},
    {FIELD(view_hborder), T_OBJECT, kVisited, 15},
    {FIELD(view_vborder), T_OBJECT, kVisited, 16},
    {FIELD(view_wview), T_OBJECT, kVisited, 17},
    {FIELD(view_hview), T_OBJECT, kVisited, 18},
    {FIELD(view_xport), T_OBJECT, kVisited, 19},
    {FIELD(view_yport), T_OBJECT, kVisited, 20},
    {FIELD(view_wport), T_OBJECT, kVisited, 21},
    {FIELD(view_hport), T_OBJECT, kVisited, 22},
    {FIELD(background_index), T_OBJECT, kVisited, 23},
    {FIELD(instances), T_OBJECT, kVisited, 24},
    {FIELD(tiles), T_OBJECT, kVisited, 25},
    {FIELD(tile_w), T_INT},
    {FIELD(tile_h), T_INT},
    {FIELD(tile_hsep), T_INT},
    {FIELD(tile_vsep), T_INT},
    {FIELD(tile_hoffset), T_INT},
    {FIELD(tile_voffset), T_INT},
    {FIELD(created), T_INT},
    {FIELD(all_objects), T_OBJECT, kVisited, 26},
    {FIELD(drawn_objects), T_OBJECT, kVisited, 27},
    {FIELD(deactivated_objects), T_OBJECT, kVisited, 28},
    {FIELD(keypressed_objects), T_OBJECT, kVisited, 29},
    {FIELD(keyreleased_objects), T_OBJECT, kVisited, 30},
    {FIELD(mouse_leftpressed_objects), T_OBJECT, kVisited, 31},
    {FIELD(mouse_rightpressed_objects), T_OBJECT, kVisited, 32},
    {FIELD(collisioned_objects), T_OBJECT, kVisited, 33},
    {FIELD(stepped_objects), T_OBJECT, kVisited, 34},
    {FIELD(moving_objects), T_OBJECT, kVisited, 35},
    {FIELD(alarmed_objects), T_OBJECT, kVisited, 36},
    {FIELD(animated_objects), T_OBJECT, kVisited, 37},
    {FIELD(key_objects), T_OBJECT, kVisited, 38},
    {FIELD(mouse_objects), T_OBJECT, kVisited, 39},
    {FIELD(cached_bg), T_OBJECT, kVisited, 40},
    {FIELD(cached_bg_scaled), T_OBJECT, kVisited, 41},
    {FIELD(frame_duration), T_FLOAT},
    {FIELD(creation_code_compiled), T_OBJECT, kUnvisited, 57},
    {FIELD(background_x), T_OBJECT, kUnvisited, 42},
    {FIELD(background_y), T_OBJECT, kUnvisited, 43},
    {FIELD(background_width), T_OBJECT, kUnvisited, 53},
    {FIELD(background_height), T_OBJECT, kUnvisited, 54},
    {FIELD(background_xscale), T_OBJECT, kUnvisited, 45},
    {FIELD(background_yscale), T_OBJECT, kUnvisited, 46},
    {FIELD(background_hspeed), T_OBJECT, kUnvisited, 47},
    {FIELD(background_vspeed), T_OBJECT, kUnvisited, 48},
    {FIELD(background_blend), T_OBJECT, kUnvisited, 49},
    {FIELD(background_alpha), T_OBJECT, kUnvisited, 50},
    {FIELD(background_htiled), T_OBJECT, kUnvisited, 51},
    {FIELD(background_vtiled), T_OBJECT, kUnvisited, 52},
    {FIELD(background_visible), T_OBJECT, kUnvisited, 44},
    {FIELD(view_visible), T_OBJECT, kUnvisited, 56},
    {FIELD(view_current), T_INT},
    {FIELD(initial_view_data), T_OBJECT, kUnvisited, 55},
};

#undef FIELD

constexpr std::size_t kVisitedCount = std::ranges::count(kRoomFields, true, &RoomField::visited);
constexpr std::size_t kReleasedCount =
    std::size(kRoomFields) - std::ranges::count(kRoomFields, 0, &RoomField::release);

// The offsets of the visited fields, in table order.
constexpr std::array<Py_ssize_t, kVisitedCount> kVisitOrder = [] {
  std::array<Py_ssize_t, kVisitedCount> offsets{};
  std::size_t n = 0;
  for (const RoomField& f : kRoomFields)
    if (f.visited) offsets[n++] = f.offset;
  return offsets;
}();

// The offsets of the references, in release order.
constexpr std::array<Py_ssize_t, kReleasedCount> kReleaseOrder = [] {
  std::array<Py_ssize_t, kReleasedCount> offsets{};
  for (const RoomField& f : kRoomFields)
    if (f.release) offsets[f.release - 1] = f.offset;
  return offsets;
}();

// Every place from 1 to kReleasedCount is taken exactly once.
static_assert([] {
  for (int place = 1; place <= int(kReleasedCount); ++place)
    if (std::ranges::count(kRoomFields, place, &RoomField::release) != 1) return false;
  return true;
}());

std::array<PyMemberDef, std::size(kRoomFields) + 1> TamRoom_members = [] {
  std::array<PyMemberDef, std::size(kRoomFields) + 1> members{};  // the zeroed last one ends it
  for (std::size_t i = 0; i < std::size(kRoomFields); ++i)
    members[i] = {kRoomFields[i].name, kRoomFields[i].type, kRoomFields[i].offset, 0, nullptr};
  return members;
}();

int TamRoom_traverse(PyObject* o, visitproc visit, void* arg) {
  return korvel::visit_references(o, kVisitOrder, visit, arg);
}

// initial_view_data, view_visible and creation_code_compiled survive a clear;
// the deallocation releases them.
int TamRoom_clear(PyObject* o) {
  korvel::clear_references(o, std::span(kReleaseOrder).first(kClearReleases));
  return 0;
}

void TamRoom_dealloc(PyObject* o) {
  // guard: untracked first, so that no collection can visit a half-cleared room
  PyObject_GC_UnTrack(o);
  TamRoom_clear(o);
  // guard: the three fields a clear keeps would otherwise leak with every room
  korvel::clear_references(o, std::span(kReleaseOrder).subspan(kClearReleases));
  Py_TYPE(o)->tp_free(o);
}

PyObject* TamRoom_int(PyObject* o) { return Game_Sequence_Index(o, "rooms"); }
PyObject* TamRoom_float(PyObject* o) { return Game_Sequence_Index_F(o, "rooms"); }
PyObject* TamRoom_str(PyObject* o) { return Game_Sequence_Index_S(o, "rooms"); }

PyObject* TamRoom_richcompare(PyObject* a, PyObject* b, int op) {
  return korvel::threeway_to_rich(Object_AsInt_compare(a, b), op);
}

PyNumberMethods TamRoom_as_number = {
    .nb_int = TamRoom_int,
    .nb_float = TamRoom_float,
};

}  // namespace

PyTypeObject TamRoom_Type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "korvel.TamRoom",
    .tp_basicsize = sizeof(TamRoom),
    .tp_dealloc = TamRoom_dealloc,
    .tp_as_number = &TamRoom_as_number,
    .tp_str = TamRoom_str,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC,
    .tp_doc = "Tam-compatible backgrounds.",
    .tp_traverse = TamRoom_traverse,
    .tp_clear = TamRoom_clear,
    .tp_richcompare = TamRoom_richcompare,
    .tp_methods = TamRoom_methods,
    .tp_members = TamRoom_members.data(),
    // A zeroed room (ints 0, references empty), for the unpickler and the runtime.
    .tp_new = PyType_GenericNew,
    .tp_free = PyObject_GC_Del,
};
