// The module functions of korvel's method table, one declaration each.
// Every one takes the positional argument tuple and returns a new reference
// or null with an exception set.
#pragma once
#include <Python.h>

PyObject* breakable(PyObject* self, PyObject* args);
PyObject* fast_draw_gradient_v(PyObject* self, PyObject* args);
PyObject* fast_draw_gradients_vc(PyObject* self, PyObject* args);
PyObject* fast_draw_gradients_vv(PyObject* self, PyObject* args);
PyObject* fast_draw_gradients_vcv(PyObject* self, PyObject* args);
PyObject* fast_draw_gradients_vcvvc(PyObject* self, PyObject* args);
PyObject* fast_draw_rectangle_color(PyObject* self, PyObject* args);
PyObject* draw_rectangle(PyObject* self, PyObject* args);
PyObject* py_flip_vh(PyObject* self, PyObject* args);
PyObject* py_flip_v(PyObject* self, PyObject* args);
PyObject* py_flip_h(PyObject* self, PyObject* args);
PyObject* rotoscale(PyObject* self, PyObject* args);
PyObject* scale(PyObject* self, PyObject* args);
PyObject* fill_translucent(PyObject* self, PyObject* args);
PyObject* init_subsystems(PyObject* self, PyObject* args);
PyObject* set_SDL_screen(PyObject* self, PyObject* args);
PyObject* RegisterInstancesDict(PyObject* self, PyObject* args);
PyObject* TamSprite_from_surface(PyObject* self, PyObject* args);
PyObject* Room_Draw(PyObject* self, PyObject* args);
PyObject* CParticle_new(PyObject* self, PyObject* args);
PyObject* CParticle_new_size_color(PyObject* self, PyObject* args);
PyObject* CParticle_step(PyObject* self, PyObject* args);
PyObject* CParticle_dec_ttl(PyObject* self, PyObject* args);
PyObject* CParticle_dec_ttl_and_render(PyObject* self, PyObject* args);
PyObject* CParticle_attach_beancounter(PyObject* self, PyObject* args);
PyObject* CParticle_type_cache_clear(PyObject* self, PyObject* args);
PyObject* part_type_alpha2(PyObject* self, PyObject* args);
PyObject* part_type_alpha3(PyObject* self, PyObject* args);
PyObject* part_type_blend(PyObject* self, PyObject* args);
PyObject* part_type_color3(PyObject* self, PyObject* args);
PyObject* part_type_create(PyObject* self, PyObject* args);
PyObject* part_type_direction(PyObject* self, PyObject* args);
PyObject* part_type_gravity(PyObject* self, PyObject* args);
PyObject* part_type_life(PyObject* self, PyObject* args);
PyObject* part_type_orientation(PyObject* self, PyObject* args);
PyObject* part_type_scale(PyObject* self, PyObject* args);
PyObject* part_type_shape(PyObject* self, PyObject* args);
PyObject* part_type_size(PyObject* self, PyObject* args);
PyObject* part_type_speed(PyObject* self, PyObject* args);
PyObject* part_type_sprite(PyObject* self, PyObject* args);
PyObject* draw_sprite_ext(PyObject* self, PyObject* args);
