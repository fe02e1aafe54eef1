// Module functions for particle types and particles: parse, resolve the
// handle, call the particle maths, build the result.
#include <Python.h>

#include <cstdio>
#include <cstdlib>

#include "korvel/compat.h"
#include "korvel/globals.h"
#include "korvel/methods.h"
#include "korvel/particles.h"
#include "korvel/tamvar.h"

namespace particles = korvel::particles;

PyObject* part_type_create(PyObject*, PyObject*) { return new_particle_type_handle(); }

PyObject* part_type_size(PyObject*, PyObject* args) {
  PyObject* pypt;
  float min, max, incr, wiggle;
  if (!PyArg_ParseTuple(args, "Offff", &pypt, &min, &max, &incr, &wiggle)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  particles::set_size(pt->params, min, max, incr, wiggle);
  Py_RETURN_NONE;
}

PyObject* part_type_speed(PyObject*, PyObject* args) {
  PyObject* pypt;
  float min, max, incr, wiggle;
  if (!PyArg_ParseTuple(args, "Offff", &pypt, &min, &max, &incr, &wiggle)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);  // guard: checked like the other setters
  if (!pt) return nullptr;
  particles::set_speed(pt->params, min, max, incr, wiggle);
  Py_RETURN_NONE;
}

PyObject* part_type_direction(PyObject*, PyObject* args) {
  PyObject* pypt;
  float min, max, incr, wiggle;
  if (!PyArg_ParseTuple(args, "Offff", &pypt, &min, &max, &incr, &wiggle)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  particles::set_direction(pt->params, min, max, incr, wiggle);
  Py_RETURN_NONE;
}

PyObject* part_type_orientation(PyObject*, PyObject* args) {
  PyObject* pypt;
  float min, max, incr, wiggle, relativef;
  if (!PyArg_ParseTuple(args, "Offfff", &pypt, &min, &max, &incr, &wiggle, &relativef))
    return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  particles::set_orientation(pt->params, min, max, incr, wiggle, relativef);
  Py_RETURN_NONE;
}

PyObject* part_type_life(PyObject*, PyObject* args) {
  PyObject* pypt;
  float minf, maxf;
  if (!PyArg_ParseTuple(args, "Off", &pypt, &minf, &maxf)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  particles::set_life(pt->params, minf, maxf);
  Py_RETURN_NONE;
}

PyObject* part_type_gravity(PyObject*, PyObject* args) {
  PyObject* pypt;
  float amt, dir;
  if (!PyArg_ParseTuple(args, "Off", &pypt, &amt, &dir)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  pt->params.grav_amount = amt;
  pt->params.grav_dir = dir;
  Py_RETURN_NONE;
}

PyObject* part_type_scale(PyObject*, PyObject* args) {
  PyObject* pypt;
  float xscale, yscale;
  if (!PyArg_ParseTuple(args, "Off", &pypt, &xscale, &yscale)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  pt->params.size_xscale = xscale;
  pt->params.size_yscale = yscale;
  Py_RETURN_NONE;
}

PyObject* part_type_alpha2(PyObject*, PyObject* args) {
  PyObject* pypt;
  float start, end;
  if (!PyArg_ParseTuple(args, "Off", &pypt, &start, &end)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  particles::set_alpha2(pt->params, start, end);
  Py_RETURN_NONE;
}

PyObject* part_type_alpha3(PyObject*, PyObject* args) {
  PyObject* pypt;
  float start, half, end;
  if (!PyArg_ParseTuple(args, "Offf", &pypt, &start, &half, &end)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  pt->params.startalpha = start;
  pt->params.halfalpha = half;
  pt->params.endalpha = end;
  Py_RETURN_NONE;
}

PyObject* part_type_color3(PyObject*, PyObject* args) {
  PyObject* pypt;
  int start, half, end;
  if (!PyArg_ParseTuple(args, "Oiii", &pypt, &start, &half, &end)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  pt->params.startcolor = uint32_t(start);
  pt->params.halfcolor = uint32_t(half);
  pt->params.endcolor = uint32_t(end);
  Py_RETURN_NONE;
}

PyObject* part_type_blend(PyObject*, PyObject* args) {
  PyObject* pypt;
  float blendf;
  if (!PyArg_ParseTuple(args, "Of", &pypt, &blendf)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  particles::set_blend(pt->params, blendf);
  Py_RETURN_NONE;
}

PyObject* part_type_shape(PyObject*, PyObject* args) {
  PyObject *pypt, *shape;
  if (!PyArg_ParseTuple(args, "OO", &pypt, &shape)) return nullptr;
  PyObject* surface_type = korvel::hooked(pygame_Surface, "pygame.Surface");
  if (!surface_type) return nullptr;
  if (reinterpret_cast<PyObject*>(Py_TYPE(shape)) != surface_type) {
    fputs("part_type_shape: A pygame Surface is required.\n", stderr);
    // guard: a TypeError rather than a null result without an exception
    PyErr_SetString(PyExc_TypeError, "part_type_shape: A pygame Surface is required.");
    return nullptr;
  }
  SDL_Surface* surf = korvel::compat::surface_of(shape);  // guard: a Surface whose SDL surface is gone
  if (!surf) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  Py_XSETREF(pt->shape, Py_NewRef(shape));
  pt->shapesurf = surf;
  Py_RETURN_NONE;
}

PyObject* part_type_sprite(PyObject*, PyObject* args) {
  PyObject *pypt, *sprite;
  float animate, stretch, random;
  if (!PyArg_ParseTuple(args, "OOfff", &pypt, &sprite, &animate, &stretch, &random))
    return nullptr;
  // guard: resolved before anything is stored, like the other setters (the
  // design writes through whatever the handle points to)
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  Py_XSETREF(pt->shape, Py_NewRef(sprite));
  if (particles::set_sprite_flags(pt->params, animate, stretch, random)) {
    puts("XXX need to select a random subimage.");
    fflush(stdout);
  }
  Py_RETURN_NONE;
}

PyObject* CParticle_type_cache_clear(PyObject*, PyObject* args) {
  PyObject* pypt;
  if (!PyArg_ParseTuple(args, "O", &pypt)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  clear_image_cache(pt);
  Py_RETURN_NONE;
}

namespace {

// The record and its handle, or null with the exception set. The record
// holds a reference to the type handle from here on.
PyObject* wrap_particle(PyObject* type_handle, ParticleType_object* pt, CParticle** out) {
  auto* p = static_cast<CParticle*>(PyMem_Calloc(1, sizeof(CParticle)));
  if (!p) return PyErr_NoMemory();
  PyObject* handle = PyCapsule_New(p, kCParticleCapsule, CParticle_destructor);
  if (!handle) {
    PyMem_Free(p);
    return nullptr;
  }
  p->type = Py_NewRef(type_handle);
  p->type_record = pt;
  *out = p;
  return handle;
}

}  // namespace

PyObject* CParticle_new(PyObject*, PyObject* args) {
  PyObject* pypt;
  float x, y;
  if (!PyArg_ParseTuple(args, "Off", &pypt, &x, &y)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  CParticle* p = nullptr;
  PyObject* handle = wrap_particle(TamVar_unwrap(pypt), pt, &p);
  if (handle) particles::CParticle_born(p->state, pt->params, x, y, drand48);
  return handle;
}

PyObject* CParticle_new_size_color(PyObject*, PyObject* args) {
  PyObject* pypt;
  float x, y, size;
  int color;
  if (!PyArg_ParseTuple(args, "Offfi", &pypt, &x, &y, &size, &color)) return nullptr;
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  CParticle* p = nullptr;
  PyObject* handle = wrap_particle(TamVar_unwrap(pypt), pt, &p);
  if (handle)
    particles::CParticle_born_size_color(p->state, pt->params, x, y, size, uint32_t(color),
                                         drand48);
  return handle;
}

PyObject* CParticle_step(PyObject*, PyObject* args) {
  PyObject* handle;
  if (!PyArg_ParseTuple(args, "O", &handle)) return nullptr;
  CParticle* p = particle_of(handle);
  if (!p) return nullptr;
  return PyLong_FromLong(particles::CParticle_step_low(p->state, type_record_of(p)->params, drand48));
}

PyObject* CParticle_dec_ttl(PyObject*, PyObject* args) {
  PyObject* handle;
  if (!PyArg_ParseTuple(args, "O", &handle)) return nullptr;
  CParticle* p = particle_of(handle);
  if (!p) return nullptr;
  return PyLong_FromLong(particles::dec_ttl(p->state));
}

PyObject* CParticle_attach_beancounter(PyObject*, PyObject* args) {
  PyObject *handle, *counter;
  if (!PyArg_ParseTuple(args, "OO", &handle, &counter)) return nullptr;
  CParticle* p = particle_of(handle);
  if (!p) return nullptr;
  // guard: only a Beancounter has a count to raise
  if (!PyObject_TypeCheck(counter, &Beancounter_Type)) {
    PyErr_Format(PyExc_TypeError, "a Beancounter is required, not '%.200s'",
                 Py_TYPE(counter)->tp_name);
    return nullptr;
  }
  if (p->beancounter) {
    Beancounter* old = p->beancounter;
    p->beancounter = nullptr;
    old->count -= 1;
    Py_DECREF(old);
  }
  p->beancounter = reinterpret_cast<Beancounter*>(Py_NewRef(counter));
  p->beancounter->count += 1;
  Py_RETURN_NONE;
}
