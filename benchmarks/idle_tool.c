/* idle_tool: a stand-in for a product tool that costs next to nothing, so that what is measured is the agent's share.
 */
int main(void) {
    return 0;
}
