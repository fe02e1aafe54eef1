// TamRoom: the room record, its attribute table, collector support,
// conversions to the room's number and comparison by that number.
#include <Python.h>
#include <structmember.h>

#include <cstddef>

#include "common/threeway.h"
#include "korvel/common.h"
#include "korvel/room.h"

namespace {

#define ROOM_MEMBER(field, kind) {#field, kind, offsetof(TamRoom, field), 0, nullptr}
#define ROOM_INT(field) ROOM_MEMBER(field, T_INT)
#define ROOM_OBJECT(field) ROOM_MEMBER(field, T_OBJECT)

// The order differs from the record's on purpose: pickled states follow it.
PyMemberDef TamRoom_members[] = {
    ROOM_INT(id),
    ROOM_OBJECT(name),
    ROOM_INT(room_width),
    ROOM_INT(room_height),
    ROOM_INT(snapx),
    ROOM_INT(snapy),
    ROOM_INT(isogrid),
    ROOM_INT(room_speed),
    ROOM_INT(room_persistent),
    ROOM_INT(bgcolor),
    ROOM_INT(draw_bgcolor),
    ROOM_OBJECT(room_caption),
    ROOM_OBJECT(creation_code),
    ROOM_OBJECT(bg0),
    ROOM_OBJECT(bg1),
    ROOM_OBJECT(bg2),
    ROOM_OBJECT(bg3),
    ROOM_OBJECT(bg4),
    ROOM_OBJECT(bg5),
    ROOM_OBJECT(bg6),
    ROOM_OBJECT(bg7),
    ROOM_INT(view_enabled),
    ROOM_INT(numviews),
    ROOM_OBJECT(view_xview),
    ROOM_OBJECT(view_yview),
    ROOM_OBJECT(view_object),
    ROOM_OBJECT(view_hborder),
    ROOM_OBJECT(view_vborder),
    ROOM_OBJECT(view_wview),
    ROOM_OBJECT(view_hview),
    ROOM_OBJECT(view_xport),
    ROOM_OBJECT(view_yport),
    ROOM_OBJECT(view_wport),
    ROOM_OBJECT(view_hport),
    ROOM_OBJECT(background_index),
    ROOM_OBJECT(instances),
    ROOM_OBJECT(tiles),
    ROOM_INT(tile_w),
    ROOM_INT(tile_h),
    ROOM_INT(tile_hsep),
    ROOM_INT(tile_vsep),
    ROOM_INT(tile_hoffset),
    ROOM_INT(tile_voffset),
    ROOM_INT(created),
    ROOM_OBJECT(all_objects),
    ROOM_OBJECT(drawn_objects),
    ROOM_OBJECT(deactivated_objects),
    ROOM_OBJECT(keypressed_objects),
    ROOM_OBJECT(keyreleased_objects),
    ROOM_OBJECT(mouse_leftpressed_objects),
    ROOM_OBJECT(mouse_rightpressed_objects),
    ROOM_OBJECT(collisioned_objects),
    ROOM_OBJECT(stepped_objects),
    ROOM_OBJECT(moving_objects),
    ROOM_OBJECT(alarmed_objects),
    ROOM_OBJECT(animated_objects),
    ROOM_OBJECT(key_objects),
    ROOM_OBJECT(mouse_objects),
    ROOM_OBJECT(cached_bg),
    ROOM_OBJECT(cached_bg_scaled),
    ROOM_MEMBER(frame_duration, T_FLOAT),
    ROOM_OBJECT(creation_code_compiled),
    ROOM_OBJECT(background_x),
    ROOM_OBJECT(background_y),
    ROOM_OBJECT(background_width),
    ROOM_OBJECT(background_height),
    ROOM_OBJECT(background_xscale),
    ROOM_OBJECT(background_yscale),
    ROOM_OBJECT(background_hspeed),
    ROOM_OBJECT(background_vspeed),
    ROOM_OBJECT(background_blend),
    ROOM_OBJECT(background_alpha),
    ROOM_OBJECT(background_htiled),
    ROOM_OBJECT(background_vtiled),
    ROOM_OBJECT(background_visible),
    ROOM_OBJECT(view_visible),
    ROOM_INT(view_current),
    ROOM_OBJECT(initial_view_data),
    {nullptr, 0, 0, 0, nullptr}};

#undef ROOM_OBJECT
#undef ROOM_INT
#undef ROOM_MEMBER

int TamRoom_traverse(PyObject* o, visitproc visit, void* arg) {
  TamRoom* r = reinterpret_cast<TamRoom*>(o);
  Py_VISIT(r->name);
  Py_VISIT(r->room_caption);
  Py_VISIT(r->creation_code);
  Py_VISIT(r->view_xview);
  Py_VISIT(r->view_yview);
  Py_VISIT(r->view_object);
  Py_VISIT(r->view_hborder);
  Py_VISIT(r->view_vborder);
  Py_VISIT(r->view_wview);
  Py_VISIT(r->view_hview);
  Py_VISIT(r->view_xport);
  Py_VISIT(r->view_yport);
  Py_VISIT(r->view_wport);
  Py_VISIT(r->view_hport);
  Py_VISIT(r->background_index);
  Py_VISIT(r->instances);
  Py_VISIT(r->tiles);
  Py_VISIT(r->all_objects);
  Py_VISIT(r->drawn_objects);
  Py_VISIT(r->deactivated_objects);
  Py_VISIT(r->keypressed_objects);
  Py_VISIT(r->keyreleased_objects);
  Py_VISIT(r->mouse_leftpressed_objects);
  Py_VISIT(r->mouse_rightpressed_objects);
  Py_VISIT(r->collisioned_objects);
  Py_VISIT(r->stepped_objects);
  Py_VISIT(r->moving_objects);
  Py_VISIT(r->alarmed_objects);
  Py_VISIT(r->animated_objects);
  Py_VISIT(r->key_objects);
  Py_VISIT(r->mouse_objects);
  Py_VISIT(r->cached_bg);
  Py_VISIT(r->cached_bg_scaled);
  return 0;
}

// initial_view_data, view_visible and creation_code_compiled survive a clear;
// the deallocation releases them.
int TamRoom_clear(PyObject* o) {
  TamRoom* r = reinterpret_cast<TamRoom*>(o);
  Py_CLEAR(r->name);
  Py_CLEAR(r->room_caption);
  Py_CLEAR(r->creation_code);
  Py_CLEAR(r->bg0);
  Py_CLEAR(r->bg1);
  Py_CLEAR(r->bg2);
  Py_CLEAR(r->bg3);
  Py_CLEAR(r->bg4);
  Py_CLEAR(r->bg5);
  Py_CLEAR(r->bg6);
  Py_CLEAR(r->bg7);
  Py_CLEAR(r->view_xview);
  Py_CLEAR(r->view_yview);
  Py_CLEAR(r->view_object);
  Py_CLEAR(r->view_hborder);
  Py_CLEAR(r->view_vborder);
  Py_CLEAR(r->view_wview);
  Py_CLEAR(r->view_hview);
  Py_CLEAR(r->view_xport);
  Py_CLEAR(r->view_yport);
  Py_CLEAR(r->view_wport);
  Py_CLEAR(r->view_hport);
  Py_CLEAR(r->background_index);
  Py_CLEAR(r->instances);
  Py_CLEAR(r->tiles);
  Py_CLEAR(r->all_objects);
  Py_CLEAR(r->drawn_objects);
  Py_CLEAR(r->deactivated_objects);
  Py_CLEAR(r->keypressed_objects);
  Py_CLEAR(r->keyreleased_objects);
  Py_CLEAR(r->mouse_leftpressed_objects);
  Py_CLEAR(r->mouse_rightpressed_objects);
  Py_CLEAR(r->collisioned_objects);
  Py_CLEAR(r->stepped_objects);
  Py_CLEAR(r->moving_objects);
  Py_CLEAR(r->alarmed_objects);
  Py_CLEAR(r->animated_objects);
  Py_CLEAR(r->key_objects);
  Py_CLEAR(r->mouse_objects);
  Py_CLEAR(r->cached_bg);
  Py_CLEAR(r->cached_bg_scaled);
  Py_CLEAR(r->background_x);
  Py_CLEAR(r->background_y);
  Py_CLEAR(r->background_visible);
  Py_CLEAR(r->background_xscale);
  Py_CLEAR(r->background_yscale);
  Py_CLEAR(r->background_hspeed);
  Py_CLEAR(r->background_vspeed);
  Py_CLEAR(r->background_blend);
  Py_CLEAR(r->background_alpha);
  Py_CLEAR(r->background_htiled);
  Py_CLEAR(r->background_vtiled);
  Py_CLEAR(r->background_width);
  Py_CLEAR(r->background_height);
  return 0;
}

void TamRoom_dealloc(PyObject* o) {
  // guard: untracked first, so that no collection can visit a half-cleared room
  PyObject_GC_UnTrack(o);
  TamRoom_clear(o);
  TamRoom* r = reinterpret_cast<TamRoom*>(o);
  // guard: the three fields a clear keeps would otherwise leak with every room
  Py_CLEAR(r->initial_view_data);
  Py_CLEAR(r->view_visible);
  Py_CLEAR(r->creation_code_compiled);
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
    .tp_members = TamRoom_members,
    // A zeroed room (ints 0, references empty), for the unpickler and the runtime.
    .tp_new = PyType_GenericNew,
    .tp_free = PyObject_GC_Del,
};
