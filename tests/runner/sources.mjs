// The project's own C and C++ files.

import { existsSync, readdirSync } from 'node:fs';
import { join } from 'node:path';

/** Paths relative to `root` of the files in `folders` whose name `pattern` matches, sorted. */
export function filesIn(root, folders, pattern) {
    const found = [];
    const walk = (folder) => {
        for (const entry of readdirSync(join(root, folder), { withFileTypes: true })) {
            const path = join(folder, entry.name);
            if (entry.isDirectory() && entry.name !== 'node_modules') walk(path);
            else if (entry.isFile() && pattern.test(entry.name)) found.push(path);
        }
    };
    for (const folder of folders) {
        if (existsSync(join(root, folder))) walk(folder);
    }
    return found.sort();
}
