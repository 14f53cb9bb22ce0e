// A picture, a song and a film with known tags, made by independent tools.
import { execFileSync } from 'node:child_process';
import { utimesSync, writeFileSync } from 'node:fs';
import path from 'node:path';

// The sanitizer's runtime must not go into programs of others.
export const tool = (program, ...args) => execFileSync(program, args, {
  env: { ...process.env, LD_PRELOAD: '' }, encoding: 'utf8', stdio: ['ignore', 'pipe', 'pipe'] });
const ffmpeg = (...args) => tool('ffmpeg', '-nostdin', '-v', 'error', '-y', '-bitexact', ...args);

/** Makes photo.jpg, song.mp3, film.mp4, and notes.txt, which is no media. */
export function makeTaggedMedia(folder) {
  const of = (name) => path.join(folder, name);
  ffmpeg('-f', 'lavfi', '-i', 'testsrc2=size=640x480', '-frames:v', '1', of('photo.jpg'));
  tool('exiftool', '-q', '-overwrite_original', '-EXIF:Model=Desk Camera 1', '-EXIF:DateTimeOriginal=2024:07:14 09:30:00',
    '-EXIF:Orientation#=6', '-EXIF:ExposureTime=1/125', '-EXIF:FNumber=2.8', '-EXIF:ISO=200',
    '-EXIF:GPSLatitude=33.8568', '-EXIF:GPSLatitudeRef=S', '-EXIF:GPSLongitude=151.2153', '-EXIF:GPSLongitudeRef=E',
    '-EXIF:GPSAltitude=12.5', '-EXIF:GPSAltitudeRef=0', of('photo.jpg'));
  ffmpeg('-f', 'lavfi', '-i', 'sine=sample_rate=44100:duration=3', '-ac', '2', '-b:a', '64k', '-metadata', 'title=Élégie',
    '-metadata', 'artist=東京トリオ', '-metadata', 'album=Été', '-metadata', 'genre=Classical', '-metadata', 'date=1998',
    '-metadata', 'track=2/9', of('song.mp3'));
  ffmpeg('-f', 'lavfi', '-i', 'testsrc2=size=1280x720:rate=10:duration=2', '-f', 'lavfi', '-i', 'sine=duration=2',
    '-c:v', 'mpeg4', '-c:a', 'aac', '-metadata', 'title=A film', '-metadata:s:a:0', 'language=deu', of('film.mp4'));
  writeFileSync(of('notes.txt'), 'no media');
  utimesSync(of('photo.jpg'), 1_700_000_000, 1_700_000_000);
}
