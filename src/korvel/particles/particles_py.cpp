// Module functions for particle types and particles: parse, resolve the
// handle, call the particle maths, build the result.
#include <Python.h>

#include <cstdio>
#include <cstdlib>

#include "korvel_py/compat.h"
#include "korvel_py/globals.h"
#include "korvel_py/methods.h"
#include "korvel_py/particles.h"
#include "korvel_py/tamvar.h"

namespace particles = korvel::particles;

PyObject* part_type_create(PyObject*, PyObject*) { return new_particle_type_handle(); }

namespace {

using particles::TypeParams;

// A setter's work: parse the particle type and up to five numbers with
// format, resolve the type, then let set store the numbers in its params.
template <typename Number>
PyObject* set_params(PyObject* args, const char* format,
                     void (*set)(TypeParams&, const Number*)) {
  PyObject* pypt;
  Number v[5] = {};
  if (!PyArg_ParseTuple(args, format, &pypt, &v[0], &v[1], &v[2], &v[3], &v[4])) return nullptr;
  // guard: every setter resolves the handle before it writes
  ParticleType_object* pt = particle_type_of(pypt);
  if (!pt) return nullptr;
  set(pt->params, v);
  Py_RETURN_NONE;
}

}  // namespace

PyObject* part_type_size(PyObject*, PyObject* args) {
  return set_params<float>(args, "Offff", [](TypeParams& p, const float* v) {
    particles::set_size(p, v[0], v[1], v[2], v[3]);
  });
}

PyObject* part_type_speed(PyObject*, PyObject* args) {
  return set_params<float>(args, "Offff", [](TypeParams& p, const float* v) {
    particles::set_speed(p, v[0], v[1], v[2], v[3]);
  });
}

PyObject* part_type_direction(PyObject*, PyObject* args) {
  return set_params<float>(args, "Offff", [](TypeParams& p, const float* v) {
    particles::set_direction(p, v[0], v[1], v[2], v[3]);
  });
}

PyObject* part_type_orientation(PyObject*, PyObject* args) {
  return set_params<float>(args, "Offfff", [](TypeParams& p, const float* v) {
    particles::set_orientation(p, v[0], v[1], v[2], v[3], v[4]);
  });
}

PyObject* part_type_life(PyObject*, PyObject* args) {
  return set_params<float>(args, "Off", [](TypeParams& p, const float* v) {
    particles::set_life(p, v[0], v[1]);
  });
}

PyObject* part_type_gravity(PyObject*, PyObject* args) {
  return set_params<float>(args, "Off", [](TypeParams& p, const float* v) {
    p.grav_amount = v[0];
    p.grav_dir = v[1];
  });
}

PyObject* part_type_scale(PyObject*, PyObject* args) {
  return set_params<float>(args, "Off", [](TypeParams& p, const float* v) {
    p.size_xscale = v[0];
    p.size_yscale = v[1];
  });
}

PyObject* part_type_alpha2(PyObject*, PyObject* args) {
  return set_params<float>(args, "Off", [](TypeParams& p, const float* v) {
    particles::set_alpha2(p, v[0], v[1]);
  });
}

PyObject* part_type_alpha3(PyObject*, PyObject* args) {
  return set_params<float>(args, "Offf", [](TypeParams& p, const float* v) {
    p.startalpha = v[0];
    p.halfalpha = v[1];
    p.endalpha = v[2];
  });
}

PyObject* part_type_color3(PyObject*, PyObject* args) {
  return set_params<int>(args, "Oiii", [](TypeParams& p, const int* v) {
    p.startcolor = uint32_t(v[0]);
    p.halfcolor = uint32_t(v[1]);
    p.endcolor = uint32_t(v[2]);
  });
}

PyObject* part_type_blend(PyObject*, PyObject* args) {
  return set_params<float>(args, "Of", [](TypeParams& p, const float* v) {
    particles::set_blend(p, v[0]);
  });
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
  // guard: resolved before anything is stored, like the other setters, so
  // a wrong handle is never written through
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
