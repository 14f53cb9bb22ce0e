// What a linked file says of itself to the loader, read by readelf and nm.

import { execFileSync } from 'node:child_process';

const tool = (program, ...args) => execFileSync(program, args, { encoding: 'utf8', env: { ...process.env, LD_PRELOAD: '' } });

/**
 * {needed: [library], paths: [element of a search path], flags: [name], soname, exported:
 * [defined dynamic symbol], imported: [undefined one without its version], segments:
 * {type: flags}} of a library or program.
 */
export function inspect(file) {
    const dynamic = tool('readelf', '-dW', file);
    const values = (name) => [...dynamic.matchAll(new RegExp(`\\(${name}\\).*\\[(.*)\\]$`, 'gm'))].map((found) => found[1]);
    const tags = [...dynamic.matchAll(/\((\w+)\)/g)].map((found) => found[1]);
    const flags = [...dynamic.matchAll(/\(FLAGS(?:_1)?\)\s+(?:Flags: )?(.*)$/gm)].flatMap((found) => found[1].trim().split(/\s+/));
    const symbols = (which) => tool('nm', '-D', which, file).split('\n').filter(Boolean)
        .map((line) => line.trim().split(/\s+/).at(-1).replace(/@.*/, ''));
    const segments = Object.fromEntries([...tool('readelf', '-lW', file)
        .matchAll(/^ {2}(GNU_STACK|GNU_RELRO)(?:\s+0x\w+){5}\s+([RWE ]+?)\s+0x/gm)].map((found) => [found[1], found[2].trim()]));
    return {
        needed: values('NEEDED'),
        paths: ['RPATH', 'RUNPATH'].flatMap(values).flatMap((list) => list.split(':')),
        soname: values('SONAME')[0],
        flags,
        tags,
        exported: symbols('--defined-only'),
        imported: symbols('--undefined-only'),
        segments,
    };
}
