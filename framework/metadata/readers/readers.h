#pragma once

#include "metadata/facts.h"
#include "metadata/media_file.h"
#include "metadata/readers/signature.h"

namespace mrb {

// One reader for each kind of file. The bytes may be anything: a reader takes what
// it understands and leaves the rest. Called on any thread, each with a file of its own.

void readJpeg(MediaFile &file, Metadata &facts);
void readPng(MediaFile &file, Metadata &facts);
void readGif(MediaFile &file, Metadata &facts);
void readBmp(MediaFile &file, Metadata &facts);
void readWebp(MediaFile &file, Metadata &facts);
void readHeif(MediaFile &file, Metadata &facts);

// Has libheif load its plug-ins, which it would otherwise do with the first file. Once.
void loadHeifPlugins();

// By TagLib, as `signature` says. False: it does not know such files.
bool readMusic(MediaFile &file, const Signature &signature, Metadata &facts);

// By libav. `signature` says which way it is to be opened.
void readContainer(MediaFile &file, const Signature &signature, Metadata &facts);
// The codec of the sound alone, from the container's head.
void readSoundCodec(MediaFile &file, const Signature &signature, Metadata &facts);

} // namespace mrb
