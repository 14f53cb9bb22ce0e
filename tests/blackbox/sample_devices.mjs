// Sample storage devices: the getters that the bridge calls for each, and the record
// that a script receives.

import { rec } from './harness.mjs';

/** Key of a record, getter of the framework (mrb_storage_get_...), a value, the value in the record. */
const USB = [
    ['storage_id', 'id', 'usb-7', 'usb-7'],
    ['storage_name', 'name', 'Stick', 'Stick'],
    ['storage_availablesize', 'availablesize', 12_345_678_901n, '12345678901'],
    ['storage_totalsize', 'totalsize', 64_000_000_000n, '64000000000'],
    ['storage_mountpath', 'mountpath', '/media/stick', '/media/stick'],
    ['storage_filesystem', 'filesystem', 3, 3],
    ['storage_serialnumber', 'serialnumber', '0A1B', '0A1B'],
    ['storage_vendor', 'vendor', 'Acme', 'Acme'],
    ['storage_index', 'index', 2, 2],
    ['storage_address', 'address', 14, 14],
    ['storage_bus', 'bus', 1, 1],
    ['storage_partitionlabel', 'partitionlabel', 'PHOTOS', 'PHOTOS'],
    ['storage_class', 'class', 8, 8],
];

const DLNA = [
    ['storage_id', 'id', 'uuid:55', 'uuid:55'],
    ['storage_name', 'name', 'Attic', 'Attic'],
    ['storage_ip', 'ip', '192.0.2.5', '192.0.2.5'],
    ['storage_bOrvaneDev', 'bOrvaneDevice', true, true],
];

const getter = (name) => `mrb_storage_get_${name}`;

/** A kind of device: its record's fields, and what tests do with them. */
const kind = (fields) => ({
    /** The getters in the order in which they are called. */
    getters: fields.map(([, name]) => getter(name)),

    /** The number of a new device; `values` by the getter's short name replace those of the table. */
    device(values = {}) {
        const own = fields.map(([, name, value]) => [getter(name), name in values ? values[name] : value]);
        return rec.device(Object.fromEntries(own));
    },

    /** The record of a device from the table. */
    record: Object.fromEntries(fields.map(([key, , , seen]) => [key, seen])),

    /** The record of a device without any values. */
    emptyRecord: Object.fromEntries(fields.map(([key, , value, seen]) =>
        [key, typeof value === 'bigint' ? '0' : { string: '', number: 0, boolean: false }[typeof seen]])),

    /** The getter calls that read one device. */
    reads: (device) => fields.map(([, name]) => [getter(name), device]),

    /** The getters' short names by the type of what they answer. */
    texts: fields.filter(([, , value]) => typeof value === 'string').map(([key, name]) => [key, name]),
    sizes: fields.filter(([, , value]) => typeof value === 'bigint').map(([key, name]) => [key, name]),
    numbers: fields.filter(([, , value]) => typeof value === 'number').map(([key, name]) => [key, name]),
});

export const usb = kind(USB);
export const dlna = kind(DLNA);

/** JSON as the library's indenting writer has it: tabs, sorted keys, a line end. */
export function styled(value) {
    const lines = (part, depth) => {
        const tab = '\t'.repeat(depth);
        const nested = (open, members, close) =>
            `\n${tab}${open}\n${members.map((member) => `${tab}\t${member}`).join(',\n')}\n${tab}${close}`;
        if (Array.isArray(part)) {
            return nested('[', part.map((element) => lines(element, depth + 1).trimStart()), ']');
        }
        if (part !== null && typeof part === 'object') {
            const members = Object.keys(part).sort()
                .map((key) => `${JSON.stringify(key)} : ${lines(part[key], depth + 1)}`);
            return nested('{', members, '}');
        }
        return JSON.stringify(part);
    };
    return `${lines(value, 0).trimStart()}\n`;
}
