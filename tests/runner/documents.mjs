// The commands that documents give their readers, for tests to run them.

/**
 * The commands of a Markdown text: its indented blocks and those fenced as `sh`, each as one
 * text, of the section whose heading `section` matches.
 */
export function commandsIn(text, section) {
    const sections = text.split(/^(?=#+ )/m);
    const found = sections.find((part) => section.test(part.split('\n')[0]));
    if (found === undefined) throw new Error(`there is no heading that ${section} matches`);
    const blocks = [];
    const fenced = found.replace(/^```sh\n([\s\S]*?)^```$/gm, (_, block) => {
        blocks.push(block);
        return '';
    });
    for (const [block] of fenced.matchAll(/(?:^ {4}.*\n(?:\n(?= {4}))?)+/gm)) blocks.push(block.replace(/^ {4}/gm, ''));
    if (blocks.length === 0) throw new Error(`the section that ${section} matches has no commands`);
    return blocks;
}
