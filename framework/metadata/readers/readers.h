#pragma once

#include "metadata/media_file.h"
#include "metadata/metadata.h"
#include "metadata/readers/signature.h"

namespace mrb {

// One reader for each kind of file. The bytes may be hostile: a reader takes what it can parse
// and leaves the rest. Called on any thread, each with a file of its own.

void readJpeg(MediaFile &file, Metadata &metadata);
void readPng(MediaFile &file, Metadata &metadata);
void readGif(MediaFile &file, Metadata &metadata);
void readBmp(MediaFile &file, Metadata &metadata);
void readWebp(MediaFile &file, Metadata &metadata);
void readHeif(MediaFile &file, Metadata &metadata);

// Makes libheif load its plug-ins, which it would otherwise do with the first file. Called once.
void loadHeifPlugins();

// By TagLib, as `signature` says. False: TagLib does not know such files.
bool readMusic(MediaFile &file, const Signature &signature, Metadata &metadata);

// By libav. `signature` gives the demuxer.
void readContainer(MediaFile &file, const Signature &signature, Metadata &metadata);
// Only the audio codec, from the container's header.
void readSoundCodec(MediaFile &file, const Signature &signature, Metadata &metadata);

} // namespace mrb
