// The particle records: a particle type and a particle, each owned by one
// capsule handle whose destructor frees it, and the Beancounter counter.
#pragma once
#include <Python.h>

#include <cstdint>

#include "korvel_core/image_index.h"
#include "korvel_core/particle.h"

struct SDL_Surface;

// How a type's image cache has served the particles drawn. Only bench/
// reads them (korvel_image_cache_counts); the module's API does not show them.
struct ImageCacheCounts {
  uint64_t hits;       // an image found, in the index or the dictionary
  uint64_t misses;     // an image to be made
  uint64_t emptyings;  // the cache emptied wholesale
};

struct ParticleType_object {
  PyObject* shape;             // owned: a pygame Surface or a sprite object, or null
  SDL_Surface* shapesurf;      // borrowed from shape (set by part_type_shape only)
  korvel::particles::TypeParams params;  // blend .. orientation_relative
  PyObject* cached_surfaces;   // owned dict: int tuple -> prerendered pygame Surface
  korvel::particles::ImageIndex* image_index;  // owned, may be null: cached_surfaces' keys
  ImageCacheCounts cache_counts;
};

struct Beancounter {
  PyObject_HEAD
  int32_t count;  // living particles attached
};

struct CParticle {
  korvel::particles::Particle state;  // x .. angle
  Beancounter* beancounter;           // owned, may be null
  PyObject* type;                     // owned particle-type handle
  ParticleType_object* type_record;   // the record inside type, read every frame
};

extern PyTypeObject Beancounter_Type;

// Capsule names: a handle of one kind is never taken for the other.
inline constexpr const char* kParticleTypeCapsule = "korvel.ParticleType";
inline constexpr const char* kCParticleCapsule = "korvel.CParticle";

// A new particle-type handle with the defaults (white is COLOR_WHITE now).
PyObject* new_particle_type_handle();
void ParticleType_destructor(PyObject* capsule);
void CParticle_destructor(PyObject* capsule);

// The image cached under k as the index knows it, or null (the dictionary
// may still hold it).
SDL_Surface* indexed_image(const ParticleType_object* pt, const korvel::particles::ImageKey& k);
// Records that cached_surfaces now holds image under k.
void index_image(ParticleType_object* pt, const korvel::particles::ImageKey& k, SDL_Surface* image);
// Empties cached_surfaces and its index.
void clear_image_cache(ParticleType_object* pt);
// For bench/ through ctypes: the cache counts of a particle type handle (or
// a TamVar holding one) as hits, misses and emptyings. 0, or -1 with TypeError.
extern "C" __attribute__((visibility("default"))) int korvel_image_cache_counts(
    PyObject* type, uint64_t counts[3]);

// The record behind a particle-type handle, or behind a TamVar whose first
// member is one. Null with TypeError otherwise ("Returning NULL!" is printed
// for an object that is neither).
ParticleType_object* particle_type_of(PyObject* o);
// The record behind a particle handle; null with TypeError otherwise.
CParticle* particle_of(PyObject* o);
// The type record of a living particle: its handle was checked at birth.
inline ParticleType_object* type_record_of(const CParticle* p) { return p->type_record; }
