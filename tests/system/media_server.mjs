// A DLNA server of another project, and a network of its own for it and its clients.
import { spawn } from 'node:child_process';
import { writeFileSync } from 'node:fs';
import path from 'node:path';

import { folder } from './harness.mjs';

/** Starts a command in a network of its own. */
export const OWN_NETWORK = ['unshare', '--user', '--map-root-user', '--net',
                     'sh', '-c', 'ip link set lo up && exec "$@"', 'sh'];

/** The configuration of a server with this name and the media of a folder. */
export function configuration(name, media = folder()) {
  const home = folder();
  const file = path.join(home, 'minidlna.conf');
  writeFileSync(file, ['network_interface=lo', `media_dir=${media}`, `db_dir=${home}`, `log_dir=${home}`,
                       `friendly_name=${name}`, 'port=8200', 'inotify=no', ''].join('\n'));
  return file;
}

/** The configuration of a server of another implementation, which accepts files, in a home folder of its own. */
export function rygelConfiguration(name, media = folder()) {
  const file = path.join(folder(), 'rygel.conf');
  writeFileSync(file, ['[general]', 'ipv6=false', 'interface=lo', 'upnp-enabled=true', 'allow-upload=true',
                       'media-engine=librygel-media-engine-simple.so',
                       '[MediaExport]', 'enabled=true', `title=${name}`, `uris=${media}`,
                       ...['Playbin', 'Tracker', 'Tracker3', 'GstLaunch', 'External']
                         .flatMap((plugin) => [`[${plugin}]`, 'enabled=false']), ''].join('\n'));
  return file;
}

/** Starts a server in the network of a client, a process. */
export const serve = (client, file) =>
  spawn('nsenter', ['--target', String(client), '--user', '--preserve-credentials', '--net', 'env', '-u', 'LD_PRELOAD',
                    'minidlnad', '-S', '-f', file, '-P', `${file}.pid`],
    { stdio: 'ignore', env: { ...process.env, PATH: `${process.env.PATH}:/usr/sbin` } });
