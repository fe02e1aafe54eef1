// Particle and particle-type handles: capsules of distinct names around the
// native records, and the destructors that free the records.
#include <Python.h>

#include <cstdio>
#include <new>

#include "korvel_py/globals.h"
#include "korvel_py/particles.h"
#include "korvel_py/tamvar.h"

PyObject* new_particle_type_handle() {
  auto* pt = static_cast<ParticleType_object*>(PyMem_Calloc(1, sizeof(ParticleType_object)));
  if (!pt) return PyErr_NoMemory();
  pt->params = korvel::particles::default_type(COLOR_WHITE);
  pt->cached_surfaces = PyDict_New();
  PyObject* handle = pt->cached_surfaces
                         ? PyCapsule_New(pt, kParticleTypeCapsule, ParticleType_destructor)
                         : nullptr;
  if (!handle) {
    Py_XDECREF(pt->cached_surfaces);
    PyMem_Free(pt);
  }
  return handle;
}

void ParticleType_destructor(PyObject* capsule) {
  auto* pt = static_cast<ParticleType_object*>(PyCapsule_GetPointer(capsule, kParticleTypeCapsule));
  if (!pt) return;
  Py_CLEAR(pt->shape);
  pt->shapesurf = nullptr;
  delete pt->image_index;
  Py_CLEAR(pt->cached_surfaces);
  PyMem_Free(pt);
}

SDL_Surface* indexed_image(const ParticleType_object* pt, const korvel::particles::ImageKey& k) {
  if (!pt->image_index) return nullptr;
  const auto it = pt->image_index->find(k);
  return it == pt->image_index->end() ? nullptr : it->second;
}

void index_image(ParticleType_object* pt, const korvel::particles::ImageKey& k, SDL_Surface* image) {
  try {
    if (!pt->image_index) pt->image_index = new korvel::particles::ImageIndex();
    (*pt->image_index)[k] = image;
  } catch (const std::bad_alloc&) {
    // Without memory the index goes: the dictionary alone answers lookups.
    delete pt->image_index;
    pt->image_index = nullptr;
  }
}

void clear_image_cache(ParticleType_object* pt) {
  ++pt->cache_counts.emptyings;
  if (pt->image_index) pt->image_index->clear();
  PyDict_Clear(pt->cached_surfaces);
}

int korvel_image_cache_counts(PyObject* type, uint64_t counts[3]) {
  const ParticleType_object* pt = particle_type_of(type);
  if (!pt) return -1;
  counts[0] = pt->cache_counts.hits;
  counts[1] = pt->cache_counts.misses;
  counts[2] = pt->cache_counts.emptyings;
  return 0;
}

void CParticle_destructor(PyObject* capsule) {
  auto* p = static_cast<CParticle*>(PyCapsule_GetPointer(capsule, kCParticleCapsule));
  if (!p) return;
  if (p->beancounter) {
    p->beancounter->count -= 1;
    Py_CLEAR(p->beancounter);
  }
  Py_CLEAR(p->type);
  PyMem_Free(p);
}

namespace {

bool is_handle(PyObject* o, const char* name) {
  return Py_TYPE(o) == g_cobject_type_pointer && PyCapsule_IsValid(o, name);
}

}  // namespace

ParticleType_object* particle_type_of(PyObject* o) {
  if (Py_TYPE(o) == &TamVar_Type) {
    PyObject* member = TamVar_unwrap(o);
    // guard: a TamVar holding anything else prints nothing, unlike a foreign
    // object below, and fails with a TypeError instead of a null result
    // without an exception
    if (!is_handle(member, kParticleTypeCapsule)) {
      PyErr_SetString(PyExc_TypeError, "the TamVar does not hold a particle type handle");
      return nullptr;
    }
    o = member;
  } else if (!is_handle(o, kParticleTypeCapsule)) {
    puts("Returning NULL!");
    fflush(stdout);
    // guard: a foreign or wrong-kind handle is a TypeError, never a record
    PyErr_Format(PyExc_TypeError, "a particle type handle is required, not '%.200s'",
                 Py_TYPE(o)->tp_name);
    return nullptr;
  }
  return static_cast<ParticleType_object*>(PyCapsule_GetPointer(o, kParticleTypeCapsule));
}

CParticle* particle_of(PyObject* o) {
  // One name check, not two: this runs for every particle drawn.
  void* p = Py_TYPE(o) == g_cobject_type_pointer ? PyCapsule_GetPointer(o, kCParticleCapsule)
                                                 : nullptr;
  // guard: any object used to be taken as a particle; only a particle handle passes here
  if (!p) {
    PyErr_Clear();  // a capsule of another name: ValueError, replaced by the TypeError
    PyErr_Format(PyExc_TypeError, "a particle handle is required, not '%.200s'",
                 Py_TYPE(o)->tp_name);
    return nullptr;
  }
  return static_cast<CParticle*>(p);
}
