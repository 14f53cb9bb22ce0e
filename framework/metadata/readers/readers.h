#pragma once

#include "metadata/facts.h"
#include "metadata/media_file.h"
#include "metadata/readers/signature.h"

namespace mrb {

// One reader for each kind of file. The bytes may be hostile: a reader takes what it can parse
// and leaves the rest. Called on any thread, each with a file of its own.

void readJpeg(MediaFile &file, Metadata &facts);
void readPng(MediaFile &file, Metadata &facts);
void readGif(MediaFile &file, Metadata &facts);
void readBmp(MediaFile &file, Metadata &facts);
void readWebp(MediaFile &file, Metadata &facts);
void readHeif(MediaFile &file, Metadata &facts);

// Makes libheif load its plug-ins, which it would otherwise do with the first file. Called once.
void loadHeifPlugins();

// By TagLib, as `signature` says. False: TagLib does not know such files.
bool readMusic(MediaFile &file, const Signature &signature, Metadata &facts);

// By libav. `signature` gives the demuxer.
void readContainer(MediaFile &file, const Signature &signature, Metadata &facts);
// Only the audio codec, from the container's header.
void readSoundCodec(MediaFile &file, const Signature &signature, Metadata &facts);

} // namespace mrb
